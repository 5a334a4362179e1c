// kaehost check: the findings, and that they are what the plug-in does.

#include <gmock/gmock.h>

#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "devhost/kaehost/catalogue.h"
#include "tests/devhost/kaehost.h"
#include "tests/devhost/temp_folder.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct Case {
  const char* inside;   // of tcp-settings
  const char* finding;  // without the name of the file; empty for none
};

const std::vector<Case> kCases = {
    {"<tcp_sack>0</tcp_sack>", ""},
    {"\n  <tcp_sack>0</tcp_sack>\n  <!-- why --> <?because?>\n", ""},
    {"<tcp_adv_win_scale>-2</tcp_adv_win_scale>", ""},
    {"<tcp_sack><![CDATA[0]]></tcp_sack>", ""},
    {"<tcp_sak>0</tcp_sak>", "1:15: tcp_sak: unknown element, did you mean tcp_sack?"},
    {"<TCP_SACK>0</TCP_SACK>", "1:15: TCP_SACK: unknown element, which is passed over; remove it"},
    {"<sack>0</sack>", "1:15: sack: unknown element, which is passed over; remove it"},
    {"<tcp_tso>0</tcp_tso>", "1:15: tcp_tso: unknown element, which is passed over; remove it"},
    {"<a:tcp_sack xmlns:a='b'>0</a:tcp_sack>",
     "1:15: a:tcp_sack: unknown element, did you mean tcp_sack?"},
    {"<tcp_mem>1</tcp_mem>",
     "1:15: tcp_mem: unknown element, did you mean tcp_mem_low, tcp_mem_pressure, tcp_mem_high?"},
    {"<ip_local_port_range>1</ip_local_port_range>",
     "1:15: ip_local_port_range: unknown element, did you mean tcp_port_min, tcp_port_max?"},
    {"<tcp_sack/>", "1:15: tcp_sack: empty, so it is passed over; write a value or remove it"},
    {"<tcp_sack></tcp_sack>",
     "1:15: tcp_sack: empty, so it is passed over; write a value or remove it"},
    {"<tcp_sack><!-- off -->0</tcp_sack>",
     "1:15: tcp_sack: its first content is no text, so it is passed over; write nothing but the "
     "value"},
    {"<tcp_sack><b>0</b></tcp_sack>",
     "1:15: tcp_sack: its first content is no text, so it is passed over; write nothing but the "
     "value"},
    {"<tcp_sack>0<!-- off --></tcp_sack>",
     "1:15: tcp_sack: what follows its first text, \"0\", is passed over; write nothing but the "
     "value"},
    {"<tcp_sack>0</tcp_sack>\n<tcp_sack>1</tcp_sack>",
     "2:1: tcp_sack: named in line 1 already, and the last one counts; remove one of the two"},
    {"\n  off,  \n", "2:3: \"off,\": text between elements is passed over; remove it"},
    {"<tcp_sack>0</tcp_sack>\xc3\xa4\xc3\xb6 <!-- -->",
     "1:37: \"\xc3\xa4\xc3\xb6\": text between elements is passed over; remove it"},
    {"<tcp_sack>on</tcp_sack>", "1:25: tcp_sack: \"on\" is no whole number; write one"},
    {"<tcp_sack>1.5</tcp_sack>", "1:25: tcp_sack: \"1.5\" is no whole number; write one"},
    {"<tcp_sack>99999999999999999999</tcp_sack>",
     "1:25: tcp_sack: \"99999999999999999999\" is no whole number; write one"},
    {"<tcp_sack> 1\n</tcp_sack>",
     "1:25: tcp_sack: \" 1 \" reaches the kernel as it is written; write 1"},
    {"<tcp_sack>+1</tcp_sack>",
     "1:25: tcp_sack: \"+1\" reaches the kernel as it is written; write 1"},
    {"<tcp_sack>0x3c</tcp_sack>",
     "1:25: tcp_sack: \"0x3c\" reaches the kernel as it is written; write 60"},
    {"<tcp_sack>017</tcp_sack>",
     "1:25: tcp_sack: \"017\" reaches the kernel as it is written; write 15"},
    {"<tcp_sack>-1</tcp_sack>", "1:25: tcp_sack: \"-1\" is negative; write a number from 0 up"},
    {"<tcp_sack> </tcp_sack>",
     "1:25: tcp_sack: blank, which the kernel takes for no value; write one or remove the element"},
    {"<tcp_mem_low>1 2 3</tcp_mem_low>",
     "1:28: tcp_mem_low: \"1 2 3\" is more than one value; each has an element of its own"},
    {"<tcp_sack\n  >x</tcp_sack>", "2:4: tcp_sack: \"x\" is no whole number; write one"},
    {"\n <tcp_sack\n a='>'\n/>",
     "2:2: tcp_sack: empty, so it is passed over; write a value or remove it"},
    {"<tcp_sack a='b'>0</tcp_sack>", "1:15: tcp_sack: attributes are passed over; remove them"},
    {"<tcp_sack xmlns='b'>0</tcp_sack>", "1:15: tcp_sack: attributes are passed over; remove them"},
};

class Check : public testing::Test {
 protected:
  Outcome Of(const std::string& xml) const {
    return Kaehost({"check", folder_.Write("document.xml", xml)});
  }

  const TempFolder folder_;
  const std::string path_ = folder_.Path("document.xml");
};

}  // namespace

TEST_F(Check, SaysWhereWhatIsWrongAndWhatToDo) {
  for (const Case& c : kCases) {
    const Outcome run = Of(std::string("<tcp-settings>") + c.inside + "</tcp-settings>");
    const bool clean = *c.finding == '\0';
    EXPECT_EQ(run.out, clean ? "kaehost: " + path_ + ": nothing to mend\n"
                             : path_ + ':' + c.finding + "\nkaehost: " + path_ + ": 1 finding\n")
        << c.inside;
    EXPECT_EQ(run.status, clean ? 0 : 1) << c.inside;
    EXPECT_EQ(run.err, "");
  }
}

TEST_F(Check, TellsFindingsInTheOrderOfTheFile) {
  const Outcome run =
      Of("<tcp-settings>\n<tcp_sak>0</tcp_sak> words\n<tcp_ecn>x<!----></tcp_ecn>\n"
         "<tcp_sack/>\n\xc3\xa4<!-- --> x</tcp-settings>");
  std::string places;
  for (std::size_t at = 0; (at = run.out.find(path_ + ':', at)) != std::string::npos; ++at) {
    const std::size_t begin = at + path_.size() + 1;
    places += run.out.substr(begin, run.out.find(' ', begin) + 1 - begin);
  }
  EXPECT_EQ(places, "2:1: 2:22: 3:1: 3:10: 4:1: 5:1: 5:11:  ") << run.out;
  EXPECT_THAT(run.out, HasSubstr(": 7 findings\n"));
}

TEST_F(Check, FindsAForeignRoot) {
  EXPECT_EQ(Of("<!-- x -->\n<udp-settings><tcp_sack>0</tcp_sack></udp-settings>").out,
            path_ +
                ":2:1: udp-settings: is no tcp-settings, so the request is left unanswered; name "
                "the outermost element tcp-settings\nkaehost: " +
                path_ + ": 1 finding\n");
}

TEST_F(Check, FindsAttributesOfTheRoot) {
  EXPECT_THAT(Of("<tcp-settings version='1'><tcp_sack>0</tcp_sack></tcp-settings>").out,
              HasSubstr(":1:1: tcp-settings: attributes are passed over; remove them\n"));
}

TEST_F(Check, FindsNothingInADocumentOfAllElements) {
  std::string all = "<tcp-settings>";
  for (const devhost::CatalogueEntry& entry : devhost::Catalogue()) {
    all +=
        '<' + std::string(entry.element) + '>' + entry.default_value + "</" + entry.element + '>';
  }
  EXPECT_EQ(Of(all + "</tcp-settings>").status, 0);
}

// The plug-in's own lines tell which elements it has set.
TEST_F(Check, FindsWhatThePlugInPassesOverAndNothingElse) {
  for (const Case& c : kCases) {
    const std::string xml = std::string("<tcp-settings>") + c.inside + "</tcp-settings>";
    const std::string finding = c.finding;
    const Outcome run = Kaehost({"apply", folder_.Write("document.xml", xml)});
    const bool passed_over = finding.find("did you mean") != std::string::npos ||
                             finding.find("which is passed over") != std::string::npos ||
                             finding.find("so it is passed over") != std::string::npos;
    const bool has_element = xml.find("</tcp_") != std::string::npos || passed_over;
    EXPECT_EQ(run.out.find("Setting new value - ") == std::string::npos,
              passed_over || !has_element)
        << xml;
  }
}

TEST_F(Check, TellsThatADocumentCannotBeRead) {
  const Outcome run = Of("<tcp-settings>\n<tcp_sack>0</tcp_sak>\n");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "kaehost: " + path_ +
                         ":2: cannot be read as XML: Opening and ending tag mismatch: tcp_sack "
                         "line 2 and tcp_sak\n");
}

TEST_F(Check, LooksAtEveryDocument) {
  const std::string bad = folder_.Write("bad.xml", "<tcp-settings><x/></tcp-settings>");
  const std::string good = folder_.Write("good.xml", "<tcp-settings/>");
  const std::string missing = folder_.Path("missing.xml");
  const Outcome run = Kaehost({"check", missing, bad, good});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "kaehost: " + missing + ": cannot be read: No such file or directory\n");
  EXPECT_THAT(run.out, HasSubstr("kaehost: " + bad + ": 1 finding\nkaehost: " + good +
                                 ": nothing to mend\n"));
  EXPECT_EQ(Kaehost({"check", bad, good}).status, 1);
}

TEST_F(Check, ReadsAPipeToo) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_EQ(write(ends[1], "<tcp-settings><x/></tcp-settings>", 33), 33);
  close(ends[1]);
  const Outcome run = Kaehost({"check", "/dev/stdin"}, [ends] { dup2(ends[0], STDIN_FILENO); });
  close(ends[0]);
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("/dev/stdin:1:15: x: unknown element"));
}

TEST_F(Check, QuietTellsFindingsOnly) {
  const std::string bad = folder_.Write("bad.xml", "<tcp-settings><x/></tcp-settings>");
  const std::string good = folder_.Write("good.xml", "<tcp-settings/>");
  const Outcome run = Kaehost({"check", "--quiet", good, bad});
  EXPECT_EQ(run.out, bad + ":1:15: x: unknown element, which is passed over; remove it\n");
}

TEST_F(Check, JsonTellsAllOfIt) {
  const std::string bad = folder_.Write("bad.xml", "<tcp-settings>\n<x/></tcp-settings>");
  const std::string missing = folder_.Path("missing.xml");
  const Outcome run = Kaehost({"check", "--json", bad, missing});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "");
  const json told = json::parse(run.out);
  EXPECT_EQ(told["status"], 2);
  EXPECT_EQ(told["documents"][0]["document"], bad);
  EXPECT_EQ(told["documents"][0]["error"], nullptr);
  EXPECT_EQ(told["documents"][0]["findings"], json::parse(R"([{"line": 2, "column": 1,
      "sentence": "x: unknown element, which is passed over; remove it"}])"));
  EXPECT_EQ(told["documents"][1]["error"], missing + ": cannot be read: No such file or directory");
  EXPECT_THAT(told["documents"][1]["findings"], IsEmpty());
}

TEST_F(Check, NeedsADocument) {
  const Outcome run = Kaehost({"check"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "kaehost: DOCUMENT is required; see kaehost check --help\n");
}

TEST_F(Check, IsExplainedByItsHelp) {
  const Outcome run = Kaehost({"check", "--help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, HasSubstr("--json"));
  EXPECT_THAT(run.out, HasSubstr("--quiet"));
  EXPECT_THAT(run.out, HasSubstr("\nExit status:\n  0  "));
}
