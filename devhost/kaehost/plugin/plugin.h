#pragma once

#include <memory>
#include <string>

#include "devhost/kaehost/plugin/plugin_error.h"
#include "host/kae.h"

namespace devhost {

// Returns the path of the plug-in in the folder of this program, as in a build, or else of the
// installed one.
std::string DefaultPlugin();

// A layer with its callbacks. All pointers are to one object, which destroys itself in do_Release.
struct Layer {
  kaeCPLayer::ConfigureCB* configure;
  kaeCPLayer::ReleaseCB* release;
  kaeCPLayer::StartCB* start;  // null if the layer does not offer it, as the next one
  kaeCPLayer::StopCB* stop;
};

// A plug-in's library, which is unloaded with this object.
class PluginLibrary {
 public:
  // Loads the library at `path` and finds the plug-in's object. Throws PluginError.
  explicit PluginLibrary(const std::string& path);

  // What dlopen returned.
  void* handle() const { return handle_.get(); }

  // The exported pointer, and the object to which it points.
  kaePlugin** pointer() const { return pointer_; }
  kaePlugin* object() const { return *pointer_; }

 private:
  struct Unload {
    void operator()(void* handle) const;
  };

  std::unique_ptr<void, Unload> handle_;
  kaePlugin** pointer_ = nullptr;
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

  const PluginLibrary& library() const { return library_; }

  // The texts of the plug-in. They throw PluginError.
  std::string name() const;
  std::string version() const;

  // Returns a new layer. End it by its do_Release. Throws PluginError.
  Layer NewLayer() const;

 private:
  // Returns what `operation` returns. Whatever it throws becomes a PluginError with its name.
  template <class Operation>
  auto Call(const char* name, Operation operation) const;

  std::string path_;
  PluginLibrary library_;
  kaePlugin* const plugin_;
};

}  // namespace devhost
