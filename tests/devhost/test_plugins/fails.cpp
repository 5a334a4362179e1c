// Answers each request with a file error whose detail is the text of the document's root.

#include "host/kaml.h"
#include "tests/devhost/test_plugins/working_plugin.h"

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* content) override {
    return request->SendError("file error", kaml_text(kaml_elem_contents(content)));
  }
};

static PluginOf<Layer> plugin;
kaePlugin* this_kae_plugin = &plugin;
