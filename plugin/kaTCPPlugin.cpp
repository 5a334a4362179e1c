// How the host finds the plug-in: one object, one exported pointer to it.

#include <string>

#include "host/kae.h"
#include "layer/kaTCPLayer.h"

// The plug-in. It has no state of its own, so its operations may be called from any thread. Layers
// live independently of it: it keeps no record of those it made and deletes none.
class kaTCPPlugin : public kaeCPPlugin {
 public:
  std::string GetName() const override { return "TCP"; }
  std::string GetVersion() const override { return "001.000"; }
  ~kaTCPPlugin() override = default;
  bool InitPlugin() override { return true; }
  void CleanupPlugin() override {}
  kaeCPLayer* GetNewLayer() override { return new kaTCPLayer; }
};

static kaTCPPlugin kae_plugin_object;

// A constant of the loaded image: a host that looks before static constructors have run finds the
// address, though not yet the object.
constinit kaePlugin* this_kae_plugin = &kae_plugin_object;
