// kaehost import: what it makes of each kind of line.

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using namespace std::string_literals;

namespace {

struct Case {
  std::string text;
  std::string expected;
};

// Lines, and the elements of their document.
const std::vector<Case> kImported = {
    {"net.ipv4.tcp_sack = 0", "<tcp_sack>0</tcp_sack>"},
    {"net/ipv4/tcp_sack=0", "<tcp_sack>0</tcp_sack>"},
    {"/net/ipv4/tcp_sack = 0", "<tcp_sack>0</tcp_sack>"},
    {"-//net/ipv4///tcp_sack = 0", "<tcp_sack>0</tcp_sack>"},
    {".net.ipv4.tcp_sack = 0", "<tcp_sack>0</tcp_sack>"},
    {"..net..ipv4.tcp_sack = 0", "<tcp_sack>0</tcp_sack>"},
    {"  \tnet.core.rmem_max\t=\t5  \r", "<rmem_max>5</rmem_max>"},
    {"\rnet.core.rmem_max\r=\r5\r\r\n\r# why", "<rmem_max>5</rmem_max>"},
    {"\xef\xbb\xbfnet.ipv4.tcp_sack = 0", "<tcp_sack>0</tcp_sack>"},
    {"\xef\xbb\xbf# why\r\n", ""},
    {"-net.ipv4.tcp_sack = 0", "<tcp_sack>0</tcp_sack>"},
    {"- net.ipv4.tcp_sack = 0", "<tcp_sack>0</tcp_sack>"},
    {"-net.ipv4.conf.*.rp_filter", ""},
    {"# net.ipv4.tcp_sack = 0\n ; net.ipv4.tcp_sack = 1\n\n  \n", ""},
    {"net.ipv4.tcp_sack = 0\nnet.ipv4.tcp_sack = 1", "<tcp_sack>1</tcp_sack>"},
    {"net.ipv4.tcp_fin_timeout = 0x3c", "<tcp_fin_timeout>60</tcp_fin_timeout>"},
    {"net.ipv4.tcp_fin_timeout = 017", "<tcp_fin_timeout>15</tcp_fin_timeout>"},
    {"net.ipv4.tcp_adv_win_scale = -2", "<tcp_adv_win_scale>-2</tcp_adv_win_scale>"},
    {"net.ipv4.ipfrag_time = 20", "<tcp_ipfrag_time>20</tcp_ipfrag_time>"},
    {"net.ipv4.ip_local_port_range = 1000", "<tcp_port_min>1000</tcp_port_min>"},
    {"net.ipv4.tcp_rmem = 1\t2  3",
     "<tcp_rmem_min>1</tcp_rmem_min><tcp_rmem_default>2</tcp_rmem_default>"
     "<tcp_rmem_max>3</tcp_rmem_max>"},
    {"net.ipv4.tcp_rmem = 1 2 3\nnet.ipv4.tcp_rmem = 4",
     "<tcp_rmem_min>4</tcp_rmem_min><tcp_rmem_default>2</tcp_rmem_default>"
     "<tcp_rmem_max>3</tcp_rmem_max>"},
};

const std::string kUnknown = "not in the catalogue; set it in another way";
const std::string kPattern = "a pattern cannot be imported; write a line for each tunable";
const std::string kNoEquals = "\"=\" is missing; write KEY = VALUE";
const std::string kNoValue = "the value is missing; write one or remove the line";
const std::string kNoNumber = "is not an integer to the kernel; write one";
const std::string kInvisible = "the key contains an invisible character, ";
const std::string kSack = "net.ipv4.tcp_sack: ";

// Lines that are not imported, and what standard error shows after ":1: ".
const std::vector<Case> kNotImported = {
    {"kernel.pid_max = 1", "kernel.pid_max: " + kUnknown},
    {"kernel", "kernel: " + kUnknown},
    {"vm.swappiness 10", "vm.swappiness 10: " + kUnknown},
    {"vm.swappiness\r10", "vm.swappiness 10: " + kUnknown},
    {"= 1", ": " + kUnknown},
    {"/ = 1", "/: " + kUnknown},
    {"net.ipv4.tcp_rmem_min = 1", "net.ipv4.tcp_rmem_min: " + kUnknown},
    {"net.ipv4.conf.eth0/100.mtu = 1", "net.ipv4.conf.eth0/100.mtu: " + kUnknown},
    {"net.ipv4/tcp_sack = 0", "net.ipv4/tcp_sack: " + kUnknown},
    {"net/ipv4.tcp_sack = 0", "net/ipv4.tcp_sack: " + kUnknown},
    {"/net.ipv4.tcp_sack = 0", "/net.ipv4.tcp_sack: " + kUnknown},
    {"net.ipv4.tcp_sack. = 0", "net.ipv4.tcp_sack.: " + kUnknown},
    {"net.ipv4.tcp_s\xc3\xa4k = 0", "net.ipv4.tcp_s\xc3\xa4k: " + kUnknown},
    {"net.ipv4.\033[31m\177 = 1",
     "net.ipv4.<U+001B>[31m<U+007F>: " + kInvisible + "U+001B; remove it"},
    {"net.ipv4.tcp_sack\177 = 1", "net.ipv4.tcp_sack<U+007F>: " + kInvisible + "U+007F; remove it"},
    {"net.ipv4.tcp\xe2\x80\x8b_sack = 0",
     "net.ipv4.tcp\xe2\x80\x8b_sack: " + kInvisible + "U+200B; remove it"},
    {"net.ipv4.tcp_sack\xc2\xa0= 0",
     "net.ipv4.tcp_sack\xc2\xa0: " + kInvisible + "U+00A0; remove it"},
    {"net.ipv4.tcp\xc2\xad_sack", "net.ipv4.tcp\xc2\xad_sack: " + kInvisible + "U+00AD; remove it"},
    {"\xef\xbb\xbf\xef\xbb\xbf# why", "\xef\xbb\xbf# why: " + kInvisible + "U+FEFF; remove it"},
    {"net.ipv4.tcp_\0sack = 0"s,
     "net.ipv4.tcp_<U+0000>sack: the key contains a NUL byte; remove it"},
    {"net.ipv4.conf.*.rp_filter = 1", "net.ipv4.conf.*.rp_filter: " + kUnknown},
    {"net.* = 1", "net.*: " + kUnknown},
    {"net.*_sack = 1", "net.*_sack: " + kUnknown},
    {"net.ipv4.tcp_keepalive_* = 1", "net.ipv4.tcp_keepalive_*: " + kPattern},
    {"net/*/rmem_ma? = 1", "net/*/rmem_ma?: " + kPattern},
    {"net.ipv4.tcp_sack", kSack + kNoEquals},
    {"net.ipv4.tcp_sack\t0", "net.ipv4.tcp_sack 0: " + kNoEquals},
    {"net.ipv4.tcp_sack =", kSack + kNoValue},
    {"net.ipv4.tcp_sack = # 0", kSack + kNoValue},
    {"net.ipv4.tcp_sack = on", kSack + "\"on\" " + kNoNumber},
    {"net.ipv4.tcp_sack = +1", kSack + "\"+1\" " + kNoNumber},
    {"net.ipv4.tcp_sack = 0=1", kSack + "\"0=1\" " + kNoNumber},
    {"net.ipv4.tcp_sack = 08", kSack + "\"08\" " + kNoNumber},
    {"net.ipv4.tcp_sack = 0# off", kSack + "\"0#\" " + kNoNumber},
    {"net.ipv4.tcp_sack = 1\xe2\x80\x8b",
     kSack + "the value contains an invisible character, U+200B; remove it"},
    {"net.ipv4.tcp_rmem = 1,2,3", "net.ipv4.tcp_rmem: \"1,2,3\" " + kNoNumber},
    {"net.ipv4.tcp_rmem = 1 2 -3", "net.ipv4.tcp_rmem: \"-3\" is negative; write 0 or more"},
    {"net.ipv4.tcp_rmem = 1 2 2147483648",
     "net.ipv4.tcp_rmem: \"2147483648\" is more than any kernel accepts; write a number up to "
     "2147483647"},
    {"net.ipv4.tcp_mem = 1 2 18446744073709551616",
     "net.ipv4.tcp_mem: \"18446744073709551616\" is out of range for every kernel; write a number "
     "closer to 0"},
    {"net.ipv4.tcp_sack = +1", kSack + "\"+1\" " + kNoNumber},
    {"net.ipv4.tcp_sack = 000000000000000000001",
     kSack +
         "\"000000000000000000001\" has more characters than the kernel reads; write it with at "
         "most 20"},
    {"net.ipv4.tcp_sack = 99999999999999999999x", kSack + "\"99999999999999999999x\" " + kNoNumber},
    {"net.ipv4.tcp_sack = 0 1", kSack + "2 values, but the tunable has 1; remove the extra values"},
    {"net.ipv4.tcp_sack = 0 1 # 2",
     kSack + "2 values, but the tunable has 1; remove the extra values"},
};

// Values before a comment, and the comment as it is shown.
const std::vector<Case> kWithComment = {
    {"0 # off", "# off"},
    {"0 ;off", ";off"},
    {"0\t#", "#"},
    {"0 # one ; two", "# one ; two"},
    {"0 # an explanation that is too long for its line",
     "# an explanation that is too long for it..."},
};

std::string WithoutWhiteSpace(std::string text) {
  std::erase_if(text, [](char c) { return c == ' ' || c == '\n'; });
  return text;
}

class ImportedLines : public testing::Test {
 protected:
  struct Result {
    int status;
    std::string document;  // without white space
    std::string reports;   // on standard error, without the line on defaults
  };

  Result Import(const std::string& text) const {
    const Outcome run = Kaehost({"import", folder_.Write("settings.conf", text)});
    EXPECT_EQ(Kaehost({"check", folder_.Write("document.xml", run.out)}).status, 0) << text;
    return {run.status, WithoutWhiteSpace(run.out),
            run.err.substr(0, run.err.find("kaehost: the files do not set"))};
  }

  const TempFolder folder_;
  const std::string path_ = folder_.Path("settings.conf");
};

}  // namespace

TEST_F(ImportedLines, BecomeElements) {
  for (const auto& [text, elements] : kImported) {
    const Result result = Import(text);
    EXPECT_EQ(result.document, "<tcp-settings>" + elements + "</tcp-settings>") << text;
    EXPECT_EQ(result.reports, "") << text;
    EXPECT_EQ(result.status, 0) << text;
  }
}

TEST_F(ImportedLines, AreListedIfTheyCannotBeImported) {
  for (const auto& [text, report] : kNotImported) {
    const Result result = Import(text);
    EXPECT_EQ(result.document, "<tcp-settings></tcp-settings>") << text;
    EXPECT_EQ(result.reports, path_ + ":1: " + report + '\n') << text;
    EXPECT_EQ(result.status, 1) << text;
  }
}

TEST_F(ImportedLines, AreImportedWithoutTheirComments) {
  for (const auto& [value, comment] : kWithComment) {
    const Result result = Import("net.ipv4.tcp_sack = " + value);
    EXPECT_EQ(result.document, "<tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>") << value;
    EXPECT_EQ(result.reports, path_ + ":1: net.ipv4.tcp_sack: imported without the comment \"" +
                                  comment +
                                  "\"; sysctl passes comments to the kernel, so move it to a "
                                  "separate line\n");
    EXPECT_EQ(result.status, 0) << value;
  }
}

TEST_F(ImportedLines, LeaveEarlierValuesInPlaceIfTheyCannotBeImported) {
  const Result result = Import("net.ipv4.tcp_sack = 0\n\nnet.ipv4.tcp_sack = on");
  EXPECT_EQ(result.document, "<tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>");
  EXPECT_EQ(result.reports, path_ + ":3: " + kSack + "\"on\" " + kNoNumber + '\n');
}

TEST_F(ImportedLines, KeepTheirOrderInTheReports) {
  const Result result = Import("y = 1\nnet.ipv4.tcp_sack = 0 # off\nx = 1\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.reports,
            path_ + ":1: y: " + kUnknown + '\n' + path_ +
                ":2: net.ipv4.tcp_sack: imported without the comment \"# off\"; sysctl passes "
                "comments to the kernel, so move it to a separate line\n" +
                path_ + ":3: x: " + kUnknown + '\n');
}

TEST_F(ImportedLines, BecomeAnElementALineInTheOrderOfTheCatalogue) {
  const std::string path =
      folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\nnet.core.rmem_max = 5\n");
  EXPECT_EQ(Kaehost({"import", path}).out,
            "<tcp-settings>\n  <rmem_max>5</rmem_max>\n  <tcp_sack>0</tcp_sack>\n"
            "</tcp-settings>\n");
}
