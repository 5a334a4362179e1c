// kaehost import: what becomes of each kind of line, and of what cannot be read or written.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::HasSubstr;

namespace {

struct Case {
  const char* text;
  const char* elements;  // of the document, without white space
  const char* complaint;
};

const std::vector<Case> kCases = {
    {"net.ipv4.tcp_sack = 0", "<tcp_sack>0</tcp_sack>", ""},
    {"net/ipv4/tcp_sack=0", "<tcp_sack>0</tcp_sack>", ""},
    {"  \tnet.core.rmem_max\t=\t5  \r", "<rmem_max>5</rmem_max>", ""},
    {"\xef\xbb\xbfnet.ipv4.tcp_sack = 0", "<tcp_sack>0</tcp_sack>", ""},
    {"\xef\xbb\xbf# why\r\n", "", ""},
    {"-net.ipv4.tcp_sack = 0", "<tcp_sack>0</tcp_sack>", ""},
    {"- net.ipv4.tcp_sack = 0", "<tcp_sack>0</tcp_sack>", ""},
    {"# net.ipv4.tcp_sack = 0\n ; net.ipv4.tcp_sack = 1\n\n  \n", "", ""},
    {"net.ipv4.tcp_sack = 0\nnet.ipv4.tcp_sack = 1", "<tcp_sack>1</tcp_sack>", ""},
    {"net.ipv4.tcp_fin_timeout = 0x3c", "<tcp_fin_timeout>60</tcp_fin_timeout>", ""},
    {"net.ipv4.tcp_fin_timeout = 017", "<tcp_fin_timeout>15</tcp_fin_timeout>", ""},
    {"net.ipv4.tcp_adv_win_scale = -2", "<tcp_adv_win_scale>-2</tcp_adv_win_scale>", ""},
    {"net.ipv4.ipfrag_time = 20", "<tcp_ipfrag_time>20</tcp_ipfrag_time>", ""},
    {"net.ipv4.tcp_rmem = 1\t2  3",
     "<tcp_rmem_min>1</tcp_rmem_min><tcp_rmem_default>2</tcp_rmem_default>"
     "<tcp_rmem_max>3</tcp_rmem_max>",
     ""},
    {"net.ipv4.ip_local_port_range = 1000", "<tcp_port_min>1000</tcp_port_min>", ""},
    {"net.ipv4.tcp_rmem = 1 2 3\nnet.ipv4.tcp_rmem = 4",
     "<tcp_rmem_min>4</tcp_rmem_min><tcp_rmem_default>2</tcp_rmem_default>"
     "<tcp_rmem_max>3</tcp_rmem_max>",
     ""},
    {"-net.ipv4.conf.*.rp_filter", "", ""},
    {"\nkernel.pid_max = 1", "",
     ":2: kernel.pid_max: the catalogue has no such tunable; set it by other means\n"},
    {"kernel", "", ":1: kernel: the catalogue has no such tunable; set it by other means\n"},
    {"= 1", "", ":1: : the catalogue has no such tunable; set it by other means\n"},
    {"net.ipv4.tcp_rmem_min = 1", "",
     ":1: net.ipv4.tcp_rmem_min: the catalogue has no such tunable; set it by other means\n"},
    {"net.ipv4.conf.eth0/100.forwarding = 1", "",
     ":1: net.ipv4.conf.eth0/100.forwarding: the catalogue has no such tunable; set it by other "
     "means\n"},
    {"net.ipv4/tcp_sack = 0", "",
     ":1: net.ipv4/tcp_sack: the catalogue has no such tunable; set it by other means\n"},
    {"net/ipv4.tcp_sack = 0", "",
     ":1: net/ipv4.tcp_sack: the catalogue has no such tunable; set it by other means\n"},
    {"net.ipv4.\033[31m\177 = 1", "",
     ":1: net.ipv4. [31m : the catalogue has no such tunable; set it by other means\n"},
    {"net.ipv4.conf.*.rp_filter = 1", "",
     ":1: net.ipv4.conf.*.rp_filter: the catalogue has no such tunable; set it by other means\n"},
    {"net.ipv4.tcp_keepalive_* = 1", "",
     ":1: net.ipv4.tcp_keepalive_*: a document has no patterns; write a line for each tunable\n"},
    {"net/*/rmem_ma? = 1", "",
     ":1: net/*/rmem_ma?: a document has no patterns; write a line for each tunable\n"},
    {"net.ipv4.tcp_sack", "",
     ":1: net.ipv4.tcp_sack: there is no \"=\" before a value; write KEY = VALUE\n"},
    {"net.ipv4.tcp_sack\t0", "",
     ":1: net.ipv4.tcp_sack 0: there is no \"=\" before a value; write KEY = VALUE\n"},
    {"vm.swappiness 10", "",
     ":1: vm.swappiness 10: the catalogue has no such tunable; set it by other means\n"},
    {"net.ipv4.tcp_sack =", "",
     ":1: net.ipv4.tcp_sack: there is no value after \"=\"; write one or remove the line\n"},
    {"net.ipv4.tcp_sack = on", "",
     ":1: net.ipv4.tcp_sack: \"on\" is no whole number to the kernel; write one\n"},
    {"net.ipv4.tcp_sack = +1", "",
     ":1: net.ipv4.tcp_sack: \"+1\" is no whole number to the kernel; write one\n"},
    {"net.ipv4.tcp_sack = 08", "",
     ":1: net.ipv4.tcp_sack: \"08\" is no whole number to the kernel; write one\n"},
    {"net.ipv4.tcp_rmem = 1,2,3", "",
     ":1: net.ipv4.tcp_rmem: \"1,2,3\" is no whole number to the kernel; write one\n"},
    {"net.ipv4.tcp_rmem = 1 2 -3", "",
     ":1: net.ipv4.tcp_rmem: \"-3\" is negative; write a number from 0 up\n"},
    {"net.ipv4.tcp_rmem = 1 2 2147483648", "",
     ":1: net.ipv4.tcp_rmem: \"2147483648\" is more than a kernel takes; write a number up to "
     "2147483647\n"},
    {"net.ipv4.tcp_mem = 1 2 9223372036854775808", "",
     ":1: net.ipv4.tcp_mem: \"9223372036854775808\" is beyond what any kernel takes; write a "
     "number "
     "nearer to 0\n"},
    {"net.ipv4.tcp_sack = 99999999999999999999x", "",
     ":1: net.ipv4.tcp_sack: \"99999999999999999999x\" is no whole number to the kernel; write "
     "one\n"},
    {"net.ipv4.tcp_sack = 0 # off", "",
     ":1: net.ipv4.tcp_sack: \"#\" begins no comment after a value; give comments lines of their "
     "own\n"},
    {"net.ipv4.tcp_sack = 0 ;off", "",
     ":1: net.ipv4.tcp_sack: \";off\" begins no comment after a value; give comments lines of "
     "their own\n"},
    {"net.ipv4.tcp_sack = 0 1", "",
     ":1: net.ipv4.tcp_sack: 2 values, but the tunable has 1; remove those that are too many\n"},
    {"net.ipv4.tcp_sack = 0\nnet.ipv4.tcp_sack = on", "<tcp_sack>0</tcp_sack>",
     ":2: net.ipv4.tcp_sack: \"on\" is no whole number to the kernel; write one\n"},
};

std::string WithoutWhiteSpace(std::string text) {
  std::erase_if(text, [](char c) { return c == ' ' || c == '\n'; });
  return text;
}

std::string Content(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

class Import : public testing::Test {
 protected:
  const TempFolder folder_;
  const std::string document_ = folder_.Path("document.xml");
};

}  // namespace

TEST_F(Import, CarriesWhatTheCatalogueHasAndListsTheRest) {
  for (const Case& c : kCases) {
    const std::string path = folder_.Write("settings.conf", c.text);
    const Outcome run = Kaehost({"import", "--quiet", path});
    EXPECT_EQ(WithoutWhiteSpace(run.out),
              std::string("<tcp-settings>") + c.elements + "</tcp-settings>")
        << c.text;
    EXPECT_EQ(run.err, *c.complaint == '\0' ? "" : path + c.complaint) << c.text;
    EXPECT_EQ(run.status, *c.complaint == '\0' ? 0 : 1) << c.text;
    EXPECT_EQ(Kaehost({"check", folder_.Write("document.xml", run.out)}).status, 0) << c.text;
  }
}

TEST_F(Import, WritesAnElementALineInTheOrderOfTheCatalogue) {
  const std::string path =
      folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\nnet.core.rmem_max = 5\n");
  EXPECT_EQ(Kaehost({"import", "--quiet", path}).out,
            "<tcp-settings>\n  <rmem_max>5</rmem_max>\n  <tcp_sack>0</tcp_sack>\n"
            "</tcp-settings>\n");
}

TEST_F(Import, TakesSeveralFilesOfWhichLaterOnesWin) {
  const std::string one = folder_.Write("one.conf", "net.ipv4.tcp_sack = 0\nx = 1\n");
  const std::string two = folder_.Write("two.conf", "\nx = 1\nnet.ipv4.tcp_sack = 1\n");
  const Outcome run = Kaehost({"import", "--quiet", one, two});
  EXPECT_THAT(run.out, HasSubstr("<tcp_sack>1</tcp_sack>"));
  EXPECT_THAT(run.err, HasSubstr(one + ":2: x: the catalogue"));
  EXPECT_THAT(run.err, HasSubstr(two + ":2: x: the catalogue"));
}

TEST_F(Import, ReadsStandardInput) {
  const std::string path = folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\ny");
  const Outcome run = Kaehost({"import", "--quiet", "-"},
                              [&] { dup2(open(path.c_str(), O_RDONLY), STDIN_FILENO); });
  EXPECT_THAT(run.out, HasSubstr("<tcp_sack>0</tcp_sack>"));
  EXPECT_THAT(run.err, HasSubstr("-:2: y: "));
}

TEST_F(Import, NotesWhichDefaultsThePlugInWillWrite) {
  const std::string path = folder_.Write(
      "settings.conf",
      "net.ipv4.tcp_rmem = 1 2 3\nnet.ipv4.tcp_wmem = 1 2 3\nnet.ipv4.tcp_keepalive_time = 1\n"
      "net.ipv4.tcp_keepalive_probes = 1\nnet.ipv4.tcp_keepalive_intvl = 1\n"
      "net.ipv4.tcp_retries1 = 1\nnet.ipv4.tcp_retries2 = 1\nnet.ipv4.tcp_fin_timeout = 1\n");
  const Outcome run = Kaehost({"import", path});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err,
            "kaehost: not named, so the plug-in will write its defaults: tcp_ecn=0 "
            "tcp_synack_retries=5 tcp_timestamps=1\n");
}

TEST_F(Import, HasNothingToNoteWhereAllIsNamed) {
  const std::string path = folder_.Write(
      "settings.conf",
      "net.ipv4.tcp_rmem = 1 2 3\nnet.ipv4.tcp_wmem = 1 2 3\nnet.ipv4.tcp_keepalive_time = 1\n"
      "net.ipv4.tcp_keepalive_probes = 1\nnet.ipv4.tcp_keepalive_intvl = 1\n"
      "net.ipv4.tcp_retries1 = 1\nnet.ipv4.tcp_retries2 = 1\nnet.ipv4.tcp_fin_timeout = 1\n"
      "net.ipv4.tcp_ecn = 1\nnet.ipv4.tcp_synack_retries = 1\nnet.ipv4.tcp_timestamps = 1\n");
  EXPECT_EQ(Kaehost({"import", path}).err, "");
}

TEST_F(Import, TellsWhichFileCannotBeRead) {
  const std::string good = folder_.Write("good.conf", "net.ipv4.tcp_sack = 0\n");
  for (const auto& [path, why] :
       {std::pair{folder_.Path("missing.conf"), "cannot be read: No such file or directory"},
        std::pair{std::string("/proc"), "cannot be read: Is a directory"},
        std::pair{std::string("/dev/zero"), "is longer than 1 MiB; give settings only"}}) {
    const Outcome run = Kaehost({"import", good, path});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "kaehost: " + path + ": " + why + "; there is no document\n");
  }
}

TEST_F(Import, WritesTheDocumentToAFile) {
  const std::string path = folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\n");
  const Outcome run = Kaehost({"import", "--quiet", "--output", document_, path});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(WithoutWhiteSpace(Content(document_)),
            "<tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>");
}

TEST_F(Import, ReplacesAFileByAWholeOneOfTheSameMode) {
  const std::string path = folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\n");
  const auto private_mode = std::filesystem::perms(0600);
  folder_.Write("document.xml", "old");
  std::filesystem::permissions(document_, private_mode);
  const std::string link = folder_.Path("link.xml");
  std::filesystem::create_symlink("document.xml", link);
  EXPECT_EQ(Kaehost({"import", "--quiet", "--output", link, path}).status, 0);
  EXPECT_THAT(Content(document_), HasSubstr("<tcp_sack>0</tcp_sack>"));
  EXPECT_EQ(std::filesystem::status(document_).permissions(), private_mode);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST_F(Import, WritesTheFileThatALinkLeadsToWhereThereIsNoneYet) {
  const std::string path = folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\n");
  const std::string link = folder_.Path("link.xml");
  std::filesystem::create_symlink("further.xml", link);
  std::filesystem::create_symlink(document_, folder_.Path("further.xml"));
  EXPECT_EQ(Kaehost({"import", "--quiet", "--output", link, path}).status, 0);
  EXPECT_THAT(Content(document_), HasSubstr("<tcp_sack>0</tcp_sack>"));
  EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST_F(Import, GivesANewFileTheModeThatFilesGet) {
  const std::string path = folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\n");
  EXPECT_EQ(Kaehost({"import", "--quiet", "--output", document_, path}, [] { umask(027); }).status,
            0);
  EXPECT_EQ(std::filesystem::status(document_).permissions(), std::filesystem::perms(0640));
}

TEST_F(Import, LeavesADeviceADevice) {
  const std::string path = folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\n");
  const std::string pipe = folder_.Path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const int end = open(pipe.c_str(), O_RDWR | O_NONBLOCK);
  EXPECT_EQ(Kaehost({"import", "--quiet", "--output", pipe, path}).status, 0);
  EXPECT_TRUE(std::filesystem::is_fifo(pipe));
  char first = '\0';
  EXPECT_EQ(read(end, &first, 1), 1);
  EXPECT_EQ(first, '<');
  close(end);
}

TEST_F(Import, LosesNothingWhereTheFileCannotBeWritten) {
  const std::string path = folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\n");
  const std::string folder = folder_.Path("folder");
  std::filesystem::create_directory(folder);
  for (const auto& [output, why] :
       {std::pair{folder, "Is a directory"},
        std::pair{folder_.Path("no/where.xml"), "No such file or directory"},
        std::pair{std::string(), "No such file or directory"}}) {
    const Outcome run = Kaehost({"import", "--output", output, path});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err,
              "kaehost: " + output + ": cannot be written: " + why + "; there is no document\n");
  }
}

TEST_F(Import, LeavesTheOldFileWhereTheNewOneIsNotWritten) {
  const std::string path = folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\n");
  folder_.Write("document.xml", "old");
  const Outcome run = Kaehost({"import", "--quiet", "--output", document_, path}, [] {
    const rlimit nothing = {0, 0};
    setrlimit(RLIMIT_FSIZE, &nothing);
    std::signal(SIGXFSZ, SIG_IGN);
  });
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(Content(document_), "old");
  std::filesystem::remove(path);
  std::filesystem::remove(document_);
  EXPECT_TRUE(std::filesystem::is_empty(folder_.Path("")));
}

TEST_F(Import, HasNoDocumentWhereStandardOutputCannotBeWritten) {
  const std::string path = folder_.Write("settings.conf", "net.ipv4.tcp_sack = 0\nx = 1\n");
  const auto fill = [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); };
  const std::string lost = "kaehost: standard output cannot be written; what it shows is not all\n";
  const Outcome run = Kaehost({"import", "--quiet", path}, fill);
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            path + ":2: x: the catalogue has no such tunable; set it by other means\n" + lost);
  EXPECT_EQ(Kaehost({"import", "--json", path}, fill).status, 2);
  EXPECT_EQ(Kaehost({"import", "--json", "--output", document_, path}, fill).status, 1);
  EXPECT_THAT(Content(document_), HasSubstr("<tcp_sack>0</tcp_sack>"));
}

TEST_F(Import, JsonTellsAllOfIt) {
  const std::string path =
      folder_.Write("settings.conf", "net.ipv4.tcp_rmem = 1 2\nnet.core.x = 1\n");
  const Outcome run = Kaehost({"import", "--json", "--output", document_, path});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "");
  const json told = json::parse(run.out);
  EXPECT_EQ(told["error"], nullptr);
  EXPECT_EQ(told["document"], Content(document_));
  EXPECT_EQ(told["elements"], json::parse(R"({"tcp_rmem_min": 1, "tcp_rmem_default": 2})"));
  EXPECT_EQ(told["not_carried"], json::array({{{"file", path},
                                               {"line", 2},
                                               {"key", "net.core.x"},
                                               {"sentence",
                                                "the catalogue has no such tunable; set it by "
                                                "other means"}}}));
  EXPECT_EQ(told["defaults"]["tcp_rmem_max"], 174760);
  EXPECT_EQ(told["defaults"].count("tcp_rmem_min"), 0U);
  EXPECT_EQ(told["status"], 1);
}

TEST_F(Import, JsonTellsWhyThereIsNoDocument) {
  const Outcome run = Kaehost({"import", "--json", folder_.Path("missing.conf")});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "");
  const json told = json::parse(run.out);
  EXPECT_EQ(told["error"],
            folder_.Path("missing.conf") + ": cannot be read: No such file or directory");
  EXPECT_EQ(told["status"], 2);
  EXPECT_FALSE(told.contains("document"));
}

TEST_F(Import, JsonAndQuietExcludeEachOther) {
  const Outcome run = Kaehost({"import", "--json", "--quiet", "-"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "kaehost: --json excludes --quiet; see kaehost import --help\n");
}

TEST_F(Import, NeedsAFile) {
  const Outcome run = Kaehost({"import"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "kaehost: FILE is required; see kaehost import --help\n");
}

TEST_F(Import, IsExplainedByItsHelp) {
  const Outcome run = Kaehost({"import", "--help"});
  EXPECT_EQ(run.status, 0);
  for (const char* text : {"--output FILE", "--json", "--quiet", "\nExit status:\n  0  "}) {
    EXPECT_THAT(run.out, HasSubstr(text));
  }
}
