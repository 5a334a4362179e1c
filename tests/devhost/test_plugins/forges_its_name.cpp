// Works, and has a name and a version that would look like lines of kaehost's own, or change what a
// terminal shows.

#include "tests/devhost/test_plugins/working_plugin.h"

namespace {

constexpr const char* kForged = "x\nkaehost: forged\x1b[2J\xc2\x9b\xe2\x80\xae";

class Plugin : public WorkingPlugin {
 public:
  std::string GetName() const override { return kForged; }
  std::string GetVersion() const override { return kForged; }
} plugin;

}  // namespace

kaePlugin* this_kae_plugin = &plugin;
