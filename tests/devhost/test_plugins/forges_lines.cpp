// Has texts that would look like lines of kaehost's own, or change what a terminal shows.

#include <stdexcept>

#include "tests/devhost/test_plugins/working_plugin.h"

namespace {

constexpr const char* kForged = "x\nkaehost: forged\x1b[2J\xc2\x9b\xe2\x80\xae";

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* /*content*/) override {
    std::printf("an error\x1b[2J\tin colour\n");
    request->SendError(kForged, kForged);
    throw std::runtime_error(kForged);
  }
  void do_Release() override {
    WorkingLayer::do_Release();
    throw std::runtime_error(kForged);
  }
};

class Plugin : public PluginOf<Layer> {
 public:
  std::string GetName() const override { return kForged; }
  std::string GetVersion() const override { return kForged; }
  void CleanupPlugin() override { throw std::runtime_error(kForged); }
} plugin;

}  // namespace

kaePlugin* this_kae_plugin = &plugin;
