// Prints megabytes in a request, in every way that a program has.

#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* /*content*/) override {
    for (int i = 0; i < 100'000; ++i) {
      std::printf("%d printf, ", i);
      std::cout << "cout, ";
      if (write(STDOUT_FILENO, "write\n", 6) != 6) {
        return request->SendError("cannot write", "");
      }
    }
    return request->SendSuccess(nullptr);
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
