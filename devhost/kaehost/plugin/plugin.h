#pragma once

#include <memory>
#include <string>

#include "devhost/kaehost/plugin/plugin_error.h"
#include "host/kae.h"

namespace devhost {

// Answers the path of the plug-in that lies beside this program, as in a build, or else of the one
// that was installed with it.
std::string DefaultPlugin();

// Says what the exception being handled is, whatever a plug-in may have thrown.
std::string Thrown();

// A layer with its callbacks. The pointers are faces of one object, which destroys itself in
// do_Release.
struct Layer {
  kaeCPLayer::ConfigureCB* configure;
  kaeCPLayer::ReleaseCB* release;
  kaeCPLayer::StartCB* start;  // this and the next are null where the layer does not offer them
  kaeCPLayer::StopCB* stop;
};

// A loaded plug-in. It is cleaned up and unloaded with this object, which must outlive its layers
// and whatever the plug-in throws.
class Plugin {
 public:
  // Loads the library at `path` and initialises the plug-in. Throws PluginError.
  explicit Plugin(const std::string& path);
  ~Plugin();
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  // What the plug-in answers. They throw PluginError.
  std::string name() const;
  std::string version() const;

  // Answers a new layer, to be ended by its do_Release. Throws PluginError.
  Layer NewLayer() const;

 private:
  struct Unload {
    void operator()(void* library) const;
  };

  // Lives while the plug-in may be running: one that ends the process must not end it with success.
  struct Running {
    Running();
    ~Running();
  };

  // Answers what `operation` answers; whatever it throws becomes a PluginError that names it.
  template <class Operation>
  auto Call(const char* name, Operation operation) const;

  Running running_;  // before and after everything else
  std::string path_;
  std::unique_ptr<void, Unload> library_;
  kaePlugin* plugin_ = nullptr;
};

}  // namespace devhost
