// kaehost check: what it finds in documents.

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "devhost/kaehost/check/findings.h"
#include "devhost/kaehost/check/schema_findings.h"
#include "devhost/kaehost/kernel/catalogue.h"
#include "tests/devhost/check/cases.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

class Findings : public testing::Test {
 protected:
  Outcome Of(const std::string& xml) const {
    return Kaehost({"check", folder_.Write("document.xml", xml)});
  }

  std::vector<devhost::Finding> OfSchema(const std::string& xml) const {
    return devhost::FindingsOfSchema(devhost::Document::Read(folder_.Write("document.xml", xml)));
  }

  const TempFolder folder_;
  const std::string path_ = folder_.Path("document.xml");
};

// Whether the schema cannot have the finding: it does not see attributes and comments, and allows
// numbers of any size.
bool IsOutsideTheSchema(const CheckCase& c) {
  const std::string finding = c.finding;
  const std::string inside = c.inside;
  return finding.find(": attributes are") != std::string::npos ||
         finding.find("any kernel accepts") != std::string::npos ||
         inside.find("<!-- off") != std::string::npos ||
         inside.find(">99999999999999999999<") != std::string::npos;
}

std::string Repeated(const std::string& text, std::size_t times) {
  std::string all;
  while (times-- > 0) {
    all += text;
  }
  return all;
}

}  // namespace

TEST_F(Findings, SayWhereWhatIsWrongAndWhatToDo) {
  for (const CheckCase& c : kCheckCases) {
    const Outcome run = Of(c.Document());
    const bool clean = *c.finding == '\0';
    EXPECT_EQ(run.out, clean ? "kaehost: " + path_ + ": no findings\n"
                             : path_ + ':' + c.finding + "\nkaehost: " + path_ + ": 1 finding\n")
        << c.inside;
    EXPECT_EQ(run.status, clean ? 0 : 1) << c.inside;
    EXPECT_EQ(run.err, "");
  }
}

TEST_F(Findings, ComeInTheOrderOfTheFile) {
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

TEST_F(Findings, BeginWithAForeignRoot) {
  EXPECT_EQ(Of("<!-- x -->\n<udp-settings><tcp_sack>0</tcp_sack></udp-settings>").out,
            path_ +
                ":2:1: udp-settings: not tcp-settings, so the request gets no reply; rename "
                "the root element to tcp-settings\nkaehost: " +
                path_ + ": 1 finding\n");
}

TEST_F(Findings, HaveAttributesOfTheRoot) {
  EXPECT_THAT(Of("<tcp-settings version='1'><tcp_sack>0</tcp_sack></tcp-settings>").out,
              HasSubstr(":1:1: tcp-settings: attributes are ignored; remove them\n"));
}

TEST_F(Findings, AreNoneBehindCommentsBeforeTheRoot) {
  EXPECT_EQ(
      Of("<!-- a --><?b?><!-- c --><tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>").status, 0);
}

TEST_F(Findings, TakeACarriageReturnForWhiteSpace) {
  EXPECT_THAT(Of("<tcp-settings>&#13;<tcp_sack>&#13;</tcp_sack></tcp-settings>").out,
              AllOf(HasSubstr("tcp_sack: only white space"), HasSubstr(": 1 finding\n")));
}

TEST_F(Findings, ShowCharactersBeyondAscii) {
  EXPECT_THAT(Of("<tcp-settings><tcp_sack>20\xc2\xb0</tcp_sack></tcp-settings>").out,
              HasSubstr(": \"20\xc2\xb0\" "));
}

TEST_F(Findings, AreNoneInADocumentOfAllElements) {
  std::string all = "<tcp-settings>";
  for (const devhost::CatalogueEntry& entry : devhost::Catalogue()) {
    all +=
        '<' + std::string(entry.element) + '>' + entry.default_value + "</" + entry.element + '>';
  }
  EXPECT_EQ(Of(all + "</tcp-settings>").status, 0);
}

TEST_F(Findings, HaveAttributesBesideOthers) {
  EXPECT_THAT(Of("<tcp-settings>\n<tcp_sack a='b'>on</tcp_sack>\n</tcp-settings>").out,
              HasSubstr(":2:1: tcp_sack: attributes are ignored; remove them\n"));
}

TEST_F(Findings, StandWhereALongTagBegins) {
  const std::string tag = "<tcp_sack\na='" + std::string(600, 'x') + "'\nb='y'>";
  for (const auto& [before, place] :
       {std::pair{"", "1:15"}, std::pair{"\n  ", "2:3"}, std::pair{"1 &amp;\n&#50;", "2:6"},
        std::pair{"<!-- \xc3\xa4\n -->", "2:5"}, std::pair{"\n<tcp_ecn/>", "2:11"},
        std::pair{"<tcp_ecn>0</tcp_ecn\n>", "2:2"}, std::pair{"<?because\n?> ", "2:4"},
        std::pair{"<![CDATA[\n]]>", "2:4"}}) {
    EXPECT_THAT(
        Of("<tcp-settings>" + std::string(before) + tag + "0</tcp_sack></tcp-settings>").out,
        HasSubstr(path_ + ':' + place + ": tcp_sack: attributes are ignored"))
        << before;
  }
}

TEST_F(Findings, ShowLongNamesCut) {
  EXPECT_THAT(Of("<tcp-settings><" + std::string(65, 'x') + "/></tcp-settings>").out,
              HasSubstr(":1:15: " + std::string(64, 'x') + "...: unknown element; it is"));
}

TEST_F(Findings, AreAllListedUpToAThousand) {
  const std::string xml =
      "<tcp-settings>" + Repeated("<x/>\n", 1000) + "<tcp_ecn>0</tcp_ecn></tcp-settings>";
  EXPECT_THAT(Of(xml).out, EndsWith("\n" + path_ + ":1000:1: x: unknown element; it is ignored; " +
                                    "remove it\nkaehost: " + path_ + ": 1000 findings\n"));
}

TEST_F(Findings, AreCutAfterAThousand) {
  const std::string end = "\n" + path_ + ":1000:1: x: unknown element; it is ignored; remove it\n" +
                          path_ +
                          ":1000:1: more findings follow, which are not listed; fix those above "
                          "first\nkaehost: " +
                          path_ + ": more than 1000 findings\n";
  const std::string thousand = "<tcp-settings>" + Repeated("<x/>\n", 1000);
  EXPECT_THAT(Of(thousand + "<x/></tcp-settings>").out, EndsWith(end));
  EXPECT_THAT(Of(thousand + "words<x/><x/></tcp-settings>").out, EndsWith(end));
}

// The second element of line 1000 has four findings.
TEST_F(Findings, AreCutWithinAnElementToo) {
  const std::string out = Of("<tcp-settings><tcp_ecn>0</tcp_ecn>" + Repeated("<x/>\n", 999) +
                             "<tcp_ecn a='b'>on<!-- --></tcp_ecn></tcp-settings>")
                              .out;
  EXPECT_THAT(out, HasSubstr(":1000:1: tcp_ecn: already named in line 1; the last one wins; remove "
                             "one of the two\n" +
                             path_ + ":1000:1: more findings follow"));
}

TEST_F(Findings, OfDuplicatesNameTheLineOfTheOneDirectlyBefore) {
  const std::string out =
      Of("<tcp-settings>" + Repeated("<tcp_sack>0</tcp_sack>\n", 3) + "</tcp-settings>").out;
  EXPECT_THAT(out, HasSubstr(":2:1: tcp_sack: already named in line 1; "));
  EXPECT_THAT(out, HasSubstr(":3:1: tcp_sack: already named in line 2; "));
}

TEST_F(Findings, OfDuplicatesDoNotCountIgnoredElements) {
  for (const char* ignored : {"<tcp_sack/>", "<tcp_sack><!-- -->1</tcp_sack>", "<Tcp_sack/>"}) {
    EXPECT_THAT(
        Of("<tcp-settings>" + std::string(ignored) + "\n<tcp_sack>0</tcp_sack></tcp-settings>").out,
        EndsWith(": 1 finding\n"))
        << ignored;
  }
}

TEST_F(Findings, HaveNegativeNumbersOfAllElementsExceptOne) {
  std::string all = "<tcp-settings>";
  std::string expected;
  int line = 1;
  for (const devhost::CatalogueEntry& entry : devhost::Catalogue()) {
    const std::string name = entry.element;
    all += "\n<" + name + ">-1</" + name + '>';
    ++line;
    if (name != "tcp_adv_win_scale") {
      expected += path_ + ':' + std::to_string(line) + ':' + std::to_string(name.size() + 3) +
                  ": " + name + ": \"-1\" is negative; write 0 or more\n";
    }
  }
  EXPECT_EQ(Of(all + "</tcp-settings>").out, expected + "kaehost: " + path_ + ": 56 findings\n");
}

TEST_F(Findings, AreNoneInTheExamples) {
  int examples = 0;
  for (const auto& entry : std::filesystem::directory_iterator(KAETCP_EXAMPLES)) {
    if (entry.is_regular_file()) {
      const Outcome run = Kaehost({"check", "--quiet", entry.path()});
      EXPECT_EQ(run.out + run.err, "");
      EXPECT_EQ(run.status, 0) << entry.path();
      ++examples;
    }
  }
  EXPECT_GE(examples, 3);
}

// The schema comes last, if there are no other findings. So it must have the other findings too.
TEST_F(Findings, OfTheSchemaAreThoseThatItCanHave) {
  for (const CheckCase& c : kCheckCases) {
    const bool wanted = *c.finding != '\0' && !IsOutsideTheSchema(c);
    EXPECT_THAT(OfSchema(c.Document()), SizeIs(wanted ? 1 : 0)) << c.inside;
  }
  EXPECT_THAT(OfSchema("<udp-settings/>"), SizeIs(1));
  EXPECT_THAT(OfSchema("<tcp-settings><tcp_sack>x<!-- -->0</tcp_sack></tcp-settings>"), SizeIs(1));
  EXPECT_THAT(OfSchema("<tcp-settings><tcp_sack>0<b/></tcp_sack></tcp-settings>"), SizeIs(1));
}

TEST_F(Findings, OfTheSchemaSayWhere) {
  const std::vector<devhost::Finding> found =
      OfSchema("<tcp-settings>\n  <tcp_sack>on</tcp_sack>\n</tcp-settings>");
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].position.line, 2);
  EXPECT_EQ(found[0].position.column, 3);
  EXPECT_THAT(found[0].sentence,
              ContainsRegex("^[^\n]+; write the element as the schema requires$"));
}

// The library names one of the two. The position must be that one's.
TEST_F(Findings, OfTheSchemaSayWhereInALineOfSeveralElements) {
  const std::vector<devhost::Finding> found =
      OfSchema("<tcp-settings><tcp_sack>on</tcp_sack><tcp_ecn>on</tcp_ecn></tcp-settings>");
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_THAT(found[0].sentence, HasSubstr(" tcp_ecn "));
  EXPECT_EQ(found[0].position.line, 1);
  EXPECT_EQ(found[0].position.column, 38);
}
