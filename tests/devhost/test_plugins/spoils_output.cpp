#include <iomanip>
#include <iostream>

#include "tests/devhost/test_plugins/working_plugin.h"

namespace {

struct Layer : WorkingLayer {
  bool do_Configure(kaeRequest* request, const kaml_content*) override {
    std::cout << std::setfill('*') << std::right << static_cast<const char*>(nullptr);
    return request->SendSuccess(nullptr);
  }
};

PluginOf<Layer> plugin;

}  // namespace

kaePlugin* this_kae_plugin = &plugin;
