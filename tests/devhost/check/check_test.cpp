// kaehost check: its options, exit statuses and JSON, and documents that cannot be read.

#include <gmock/gmock.h>

#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/devhost/support/json.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

namespace {

class Check : public testing::Test {
 protected:
  Outcome Of(const std::string& xml) const {
    return Kaehost({"check", folder_.Write("document.xml", xml)});
  }

  const TempFolder folder_;
  const std::string path_ = folder_.Path("document.xml");
};

}  // namespace

TEST_F(Check, TellsThatADocumentCannotBeRead) {
  const Outcome run = Of("<tcp-settings>\n<tcp_sack>0</tcp_sak>\n");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "kaehost: " + path_ +
                         ":2:14: cannot be read as XML: the end tag </tcp_sak> does not match "
                         "<tcp_sack> in line 2; write </tcp_sack>\n");
}

// In a build without the library that validates, all other findings are still there.
TEST_F(Check, TellsThatItsLibraryIsMissing) {
  const std::filesystem::path built = std::filesystem::path(KAEHOST).parent_path();
  const std::string kaehost = folder_.Path("kaehost");
  std::filesystem::copy(KAEHOST, kaehost);
  std::filesystem::create_directory(folder_.Path("devhost"));
  std::filesystem::copy(built / "devhost/libe.so", folder_.Path("devhost"));
  const auto check = [&](const std::string& document) {
    return Kaehost({}, [&] { execl(kaehost.c_str(), "", "check", document.c_str(), nullptr); });
  };
  const Outcome bad = check(folder_.Write("bad.xml", "<tcp-settings><x/></tcp-settings>"));
  EXPECT_THAT(bad.out, HasSubstr("unknown element"));
  EXPECT_EQ(bad.status, 1);
  const std::string path = folder_.Write("good.xml", "<tcp-settings/>");
  const Outcome good = check(path);
  EXPECT_EQ(good.err, "kaehost: " + path +
                          ": cannot load the library that validates documents: "
                          "kaehost_schema.so: cannot open shared object file: No such file or "
                          "directory; install kaehost again\n");
  EXPECT_EQ(good.out, "");
  EXPECT_EQ(good.status, 2);
}

TEST_F(Check, LooksAtEveryDocument) {
  const std::string bad = folder_.Write("bad.xml", "<tcp-settings><x/></tcp-settings>");
  const std::string good = folder_.Write("good.xml", "<tcp-settings/>");
  const std::string missing = folder_.Path("missing.xml");
  const Outcome run = Kaehost({"check", missing, bad, good});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "kaehost: " + missing + ": cannot be read: No such file or directory\n");
  EXPECT_THAT(run.out,
              HasSubstr("kaehost: " + bad + ": 1 finding\nkaehost: " + good + ": no findings\n"));
  EXPECT_EQ(Kaehost({"check", bad, good}).status, 1);
}

TEST_F(Check, ReadsAPipeToo) {
  const std::string xml = "<tcp-settings><tcp_sack a='b'>1</tcp_sack></tcp-settings>";
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_EQ(write(ends[1], xml.data(), xml.size()), static_cast<ssize_t>(xml.size()));
  close(ends[1]);
  const Outcome run = Kaehost({"check", "/dev/stdin"}, [ends] { dup2(ends[0], STDIN_FILENO); });
  close(ends[0]);
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("/dev/stdin:1:15: tcp_sack: attributes are ignored"));
}

TEST_F(Check, QuietTellsFindingsOnly) {
  const std::string bad = folder_.Write("bad.xml", "<tcp-settings><x/></tcp-settings>");
  const std::string good = folder_.Write("good.xml", "<tcp-settings/>");
  const Outcome run = Kaehost({"check", "--quiet", good, bad});
  EXPECT_EQ(run.out, bad + ":1:15: x: unknown element; it is ignored; remove it\n");
}

TEST_F(Check, JsonTellsAllOfIt) {
  const std::string bad = folder_.Write("bad.xml", "<tcp-settings>\n  <x/></tcp-settings>");
  const std::string missing = folder_.Path("missing.xml");
  const Outcome run = Kaehost({"check", "--json", bad, missing});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(Parsed(run.out), Parsed(R"({
      "documents": [
        {"document": ")" + bad + R"(", "error": null, "findings": [
          {"line": 2, "column": 3, "sentence": "x: unknown element; it is ignored; remove it"}]},
        {"document": ")" + missing + R"(", "error": ")" +
                                    missing +
                                    R"(: cannot be read: No such file or directory",
         "findings": []}],
      "status": 2})"));
}

TEST_F(Check, JsonAndQuietExcludeEachOther) {
  EXPECT_EQ(
      Kaehost({"check", "--json", "--quiet", folder_.Write("good.xml", "<tcp-settings/>")}).status,
      2);
}

TEST_F(Check, TakesDocumentsAfterTwoDashes) {
  const std::string good = folder_.Write("good.xml", "<tcp-settings/>");
  EXPECT_EQ(Kaehost({"check", "--", good}).status, 0);
}

TEST_F(Check, NeedsADocument) {
  const Outcome run = Kaehost({"check"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(
      run.err,
      "kaehost: missing document operand\nTry 'kaehost check --help' for more information.\n");
}

TEST_F(Check, IsExplainedByItsHelp) {
  const Outcome run = Kaehost({"check", "--help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, Not(ContainsRegex("[^\n]{81}")));
  EXPECT_THAT(run.out, HasSubstr("--json"));
  EXPECT_THAT(run.out, HasSubstr("--quiet"));
  EXPECT_THAT(run.out, HasSubstr("\nExit status:\n  0  "));
}
