// Texts of others in what kaehost prints: they do nothing to a terminal and look like no line of
// kaehost's own.

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/devhost/support/json.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string kForged = "x\nkaehost: forged\x1b[2J\xc2\x9b\xe2\x80\xae";
const std::string kShown = "x<U+000A>kaehost: forged<U+001B>[2J<U+009B><U+202E>";

void ExpectHarmless(const std::string& text) {
  EXPECT_THAT(text, Not(HasSubstr("\nkaehost: forged")));
  EXPECT_TRUE(std::none_of(text.begin(), text.end(), [](unsigned char c) {
    return c < ' ' && c != '\n';
  })) << text;
  for (const char* command : {"\xc2\x9b", "\xe2\x80\xae", "\x7f"}) {
    EXPECT_THAT(text, Not(HasSubstr(command)));
  }
}

class ForeignText : public testing::Test {
 protected:
  // Runs kaehost; expects the text in a harmless form.
  static void ExpectShown(const std::vector<std::string>& arguments) {
    const Outcome run = Kaehost(arguments);
    ExpectHarmless(run.out);
    ExpectHarmless(run.err);
    EXPECT_THAT(run.out + run.err, HasSubstr(kShown)) << arguments[0];
  }

  const TempFolder folder_;
  const std::string document_ = folder_.Write("document.xml", "<tcp-settings/>");
  const std::string odd_ = folder_.Write(kForged, "<tcp-settings><x/></tcp-settings>");
};

}  // namespace

TEST_F(ForeignText, OfFileNamesIsHarmless) {
  ExpectShown({"apply", odd_});
  ExpectShown({"apply", odd_ + "no"});
  ExpectShown({"apply", document_, "--plugin", odd_});
  EXPECT_THAT(Kaehost({"apply", document_, "--netns", "/x\x1b[2J"}).err,
              HasSubstr("/x<U+001B>[2J"));
  ExpectShown({"check", odd_});
  ExpectShown({"check", odd_ + "no"});
  ExpectShown({"import", odd_});
  ExpectShown({"import", odd_ + "no"});
  ExpectShown({"import", "--output", odd_ + "/no", document_});
  ExpectShown({"inspect", odd_});
  ExpectShown({"restore", "--netns", "/" + kForged});
}

TEST_F(ForeignText, OfTheCommandLineIsHarmless) {
  ExpectShown({kForged});
  ExpectShown({"apply", "--" + kForged});
  ExpectShown({"apply", document_, "--", kForged});
}

TEST_F(ForeignText, OfAPluginIsHarmless) {
  const std::string plugin = TestPlugin("forges_lines");
  const Outcome run = Kaehost({"apply", "--quiet", document_, "--plugin", plugin});
  ExpectHarmless(run.out);
  ExpectHarmless(run.err);
  EXPECT_THAT(run.out, HasSubstr("kaehost: the layer's do_Configure threw: " + kShown + "\n"));
  EXPECT_THAT(run.out, HasSubstr("kaehost: reply: error: " + kShown + ": " + kShown + "\n"));
  EXPECT_THAT(run.out, HasSubstr("kaehost: the layer's do_Release threw: " + kShown + "\n"));
  EXPECT_THAT(run.err, HasSubstr(": the plug-in's CleanupPlugin threw: " + kShown + "\n"));
  EXPECT_THAT(Kaehost({"apply", document_, "--plugin", plugin}).out,
              HasSubstr("kaehost: plug-in " + kShown + ", version " + kShown + "\n"));
  ExpectShown({"inspect", plugin});
}

TEST_F(ForeignText, OfAPluginThatWorksIsHarmless) {
  const std::string plugin = folder_.Path(kForged + ".so");
  std::filesystem::copy_file(TestPlugin("forges_its_name"), plugin);
  const Outcome run = Kaehost({"inspect", plugin});
  ExpectHarmless(run.out);
  EXPECT_THAT(run.out,
              HasSubstr(kShown + ".so\nname        " + kShown + "\nversion     " + kShown));
}

TEST_F(ForeignText, IsEscapedInJson) {
  const Outcome run =
      Kaehost({"apply", "--json", document_, "--plugin", TestPlugin("forges_lines")});
  ExpectHarmless(run.out);
  EXPECT_EQ(Parsed(run.out)["requests"][0]["thrown"], kForged);
}
