#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "tests/support/host.h"
#include "tests/support/output.h"
#include "tests/support/tunable_tree.h"

// The built plug-in library, loaded as a host loads it: bound at once, its symbols kept to itself.
class LoadedLibrary {
 public:
  // Throws std::runtime_error with the loader's reason.
  LoadedLibrary();
  ~LoadedLibrary() { Unload(); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  // Gives the library back to the loader; the second call does nothing.
  void Unload();

  // What the exported pointer holds.
  kaePlugin* plugin() const { return plugin_; }

  // The address at which the file's own addresses start.
  char* base() const { return base_; }

  // Whether anybody holds the library loaded.
  static bool IsLoaded();

  static const char* Path();

 private:
  void* handle_;
  kaePlugin* plugin_;
  char* base_;
};

// The recording host, as good as new from here on and afterwards.
struct NewHost {
  NewHost() { recording_host::ResetHost(); }
  ~NewHost() { recording_host::ResetHost(); }
  NewHost(const NewHost&) = delete;
  NewHost& operator=(const NewHost&) = delete;
};

// A host that has the plug-in loaded, and standard output captured; both record from before that.
class PluginTest : public testing::Test {
 protected:
  // The plug-in through another of its bases, as a host gets there.
  template <class Base>
  Base& As() const {
    return dynamic_cast<Base&>(*library.plugin());
  }

  // The whole object, for access by position.
  void* object() const { return library.plugin(); }

  NewHost host;
  CapturedOutput output;
  LoadedLibrary library;
};

// Ends a layer as the host does.
struct ReleaseLayer {
  void operator()(kaeCPLayer* layer) const {
    dynamic_cast<kaeCPLayer::ReleaseCB&>(*layer).do_Release();
  }
};
using Layer = std::unique_ptr<kaeCPLayer, ReleaseLayer>;

// The same with a kernel whose tunables are all absent at first.
class PluginLayerTest : public PluginTest {
 protected:
  Layer NewLayer() const { return Layer(As<kaeCPLayerFactory>().GetNewLayer()); }

  TunableTree tree;
};
