// What kaehost does with a plug-in that works.

#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::HasSubstr;

namespace {

class WorkingPlugin : public testing::Test {
 protected:
  const TempFolder folder_;
  const std::string document_ = folder_.Write("document.xml", "<tcp-settings/>");
};

}  // namespace

TEST_F(WorkingPlugin, CallsThePlugInAsItsContractSays) {
  const Outcome run =
      Kaehost({"apply", "--verbose", "--as-is", document_, "--plugin", TestPlugin("working")});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "kaehost: in a private namespace; the machine's own tunables are out of reach\n"
            "[InitPlugin]\n"
            "kaehost: plug-in test plug-in, version 1.0\n"
            "[GetNewLayer]\n"
            "\n"
            "kaehost: request: " +
                document_ +
                "\n"
                "[do_Configure with a document]\n"
                "\n"
                "kaehost: reply: success\n"
                "kaehost: " +
                document_ +
                ": nothing requested, nothing changed\n"
                "\n"
                "kaehost: releasing the layer\n"
                "[do_Release]\n"
                "[layer destroyed]\n"
                "[CleanupPlugin]\n"
                "[plug-in destroyed]\n"
                "\n"
                "kaehost: layer released; all tunables restored\n");
}

TEST_F(WorkingPlugin, KeepsThePlugInsSymbolsToItself) {
  const Outcome run = Kaehost({"apply", document_, "--plugin", TestPlugin("visible")});
  EXPECT_THAT(run.out, HasSubstr("kaehost: plug-in test plug-in, version none\n"));
}

TEST_F(WorkingPlugin, FindsAPlugInByANameWithoutASlash) {
  const Outcome run = Kaehost({"apply", document_, "--plugin", "working.so"},
                              [] { std::filesystem::current_path(TEST_PLUGINS); });
  EXPECT_EQ(run.status, 0) << run.err;
}
