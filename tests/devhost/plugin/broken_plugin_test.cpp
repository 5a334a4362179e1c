// Plug-ins that do not load or make no layer: each is refused with a sentence of its own.

#include <gmock/gmock.h>
#include <unistd.h>

#include <string>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

class BrokenPlugin : public testing::Test {
 protected:
  Outcome ApplyWith(const std::string& plugin) const {
    return Kaehost({"apply", document_, "--plugin", plugin});
  }

  // Expects that the plug-in at `path` is refused before a request is delivered; answers what was
  // printed on standard output.
  std::string ExpectRefused(const std::string& path, const std::string& sentence) const {
    const Outcome run = ApplyWith(path);
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.err, "kaehost: " + path + ": " + sentence + "; nothing was delivered\n");
    EXPECT_THAT(run.out, Not(HasSubstr("kaehost: request")));
    return run.out;
  }

  const TempFolder folder_;
  const std::string document_ = folder_.Write("document.xml", "<tcp-settings/>");
};

}  // namespace

TEST_F(BrokenPlugin, Missing) {
  ExpectRefused(folder_.Path("nowhere.so"),
                "the plug-in does not load: cannot open shared object file: No such file or "
                "directory");
}

TEST_F(BrokenPlugin, MissingByANameWithoutASlash) {
  ExpectRefused("libc.so.6",
                "the plug-in does not load: cannot open shared object file: No such file or "
                "directory");
}

TEST_F(BrokenPlugin, ThatIsNoLibrary) {
  const std::string text = std::string(4096, 'x');
  ExpectRefused(folder_.Write("text.so", text), "the plug-in does not load: invalid ELF header");
}

TEST_F(BrokenPlugin, ThatCallsAFunctionThatNobodyHas) {
  ExpectRefused(TestPlugin("unresolved"),
                "the plug-in does not load: undefined symbol: nobody_has_this");
}

TEST_F(BrokenPlugin, WithoutTheSymbol) {
  ExpectRefused(TestPlugin("no_symbol"),
                "not a plug-in: it does not export the symbol this_kae_plugin");
}

TEST_F(BrokenPlugin, WithANullPointer) {
  ExpectRefused(TestPlugin("null_pointer"), "not a plug-in: its this_kae_plugin is null");
}

TEST_F(BrokenPlugin, ThatIsNotReady) {
  ExpectRefused(TestPlugin("init_false"),
                "the plug-in is not ready: its InitPlugin returned false");
}

TEST_F(BrokenPlugin, ThatThrowsWhenItIsInitialised) {
  ExpectRefused(TestPlugin("init_throws"), "the plug-in's InitPlugin threw: no luck");
}

TEST_F(BrokenPlugin, ThatThrowsWhenItIsAskedForItsName) {
  EXPECT_THAT(ExpectRefused(TestPlugin("name_throws"), "the plug-in's GetName threw: nameless"),
              EndsWith("[InitPlugin]\n[CleanupPlugin]\n[plug-in destroyed]\n\n"));
}

TEST_F(BrokenPlugin, ThatThrowsWhenItIsAskedForItsVersion) {
  ExpectRefused(TestPlugin("version_throws"),
                "the plug-in's GetVersion threw: something that is not a std::exception");
}

TEST_F(BrokenPlugin, ThatIsNoFactory) {
  EXPECT_THAT(ExpectRefused(TestPlugin("no_factory"),
                            "the plug-in cannot make layers: it is not a kaeCPLayerFactory"),
              EndsWith("kaehost: plug-in no factory, version 1\n[CleanupPlugin]\n\n"));
}

TEST_F(BrokenPlugin, ThatAnswersNoLayer) {
  ExpectRefused(TestPlugin("null_layer"),
                "the plug-in made no layer: its GetNewLayer returned null");
}

TEST_F(BrokenPlugin, WhoseLayerThrowsWhenItIsConstructed) {
  EXPECT_THAT(ExpectRefused(TestPlugin("layer_throws"),
                            "the plug-in's GetNewLayer threw: no memory for a layer"),
              EndsWith("[CleanupPlugin]\n[plug-in destroyed]\n\n"));
}

TEST_F(BrokenPlugin, WhoseLayerThrowsWhatIsNoException) {
  ExpectRefused(TestPlugin("layer_throws_oddly"),
                "the plug-in's GetNewLayer threw: something that is not a std::exception");
}

TEST_F(BrokenPlugin, WhoseLayerCannotBeConfigured) {
  EXPECT_THAT(
      ExpectRefused(TestPlugin("no_configure"),
                    "the plug-in's layer cannot be used: it is not a kaeCPLayer::ConfigureCB"),
      EndsWith("[layer destroyed]\n[CleanupPlugin]\n[plug-in destroyed]\n\n"));
}

TEST_F(BrokenPlugin, WhoseLayerCannotBeReleased) {
  EXPECT_THAT(
      ExpectRefused(TestPlugin("no_release"),
                    "the plug-in's layer cannot be used: it is not a kaeCPLayer::ReleaseCB"),
      EndsWith("[layer destroyed]\n[CleanupPlugin]\n[plug-in destroyed]\n\n"));
}

TEST_F(BrokenPlugin, IsUnloadedBeforeItsErrorIsTold) {
  const std::string path = TestPlugin("null_layer");
  const Outcome run =
      Kaehost({"apply", document_, "--plugin", path}, [] { dup2(STDOUT_FILENO, STDERR_FILENO); });
  EXPECT_THAT(run.out,
              HasSubstr("[CleanupPlugin]\n[plug-in destroyed]\n\nkaehost: " + path + ": "));
}

TEST_F(BrokenPlugin, ThatThrowsAtItsEndHasDoneItsWork) {
  const std::string path = TestPlugin("cleanup_throws");
  const Outcome run = ApplyWith(path);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "kaehost: " + path + ": the plug-in's CleanupPlugin threw: too late\n");
  EXPECT_THAT(run.out, EndsWith("kaehost: layer released; all tunables restored\n"));
}
