#pragma once

#include <map>
#include <string>

#include "devhost/libe/document.h"
#include "devhost/libe/request.h"
#include "host/kae.h"
#include "tests/support/tunable_tree.h"

// What it takes to host layers of the built plug-in over a tree of all 50 files, and what those
// files are expected to hold.

// A layer from its construction to its release, reached as a host reaches it: through the one
// exported pointer and by cross-casts.
class HostedLayer {
 public:
  HostedLayer();
  ~HostedLayer() { Release(); }
  HostedLayer(const HostedLayer&) = delete;
  HostedLayer& operator=(const HostedLayer&) = delete;

  void Start() { As<kaeCPLayer::StartCB>().do_Start(); }
  void Stop() { As<kaeCPLayer::StopCB>().do_Stop(); }

  // Answers what the layer's do_Configure answers.
  bool Configure(kaeRequest& request, const devhost::Document& document) {
    return As<kaeCPLayer::ConfigureCB>().do_Configure(&request, document.contents());
  }

  // Lets the layer end itself; the second time there is nothing left to do.
  void Release();

  const kaeCPLayer* get() const { return layer_; }

 private:
  template <class Callback>
  Callback& As() const {
    return dynamic_cast<Callback&>(*layer_);
  }

  kaeCPLayer* layer_;
};

// A value for each setting, by its name; and a text for each file, by its path below /proc/sys/net.
using Values = std::map<std::string, std::string>;
using Files = std::map<std::string, std::string>;

// Answers a value for every setting that is like no other's: `prefix` and a number.
Values DistinctValues(const std::string& prefix);

// Answers the values of a new layer that has this snapshot: fifteen are defaults.
Values StartingValues(const Values& snapshot);

// Answers `values` with those of `named` in their place.
Values With(const Values& values, const Values& named);

// Answers what all files hold once a layer has written these values.
Files FilesOf(const Values& values);

// Puts every file there, with these texts.
void Fill(TunableTree& tree, const Files& files);

// Answers a sentence about the first file that holds another text than here, an empty one when
// there is none.
std::string WrongFile(const TunableTree& tree, const Files& files);

// Adds a top-level "tcp-settings" with an element for each value, and answers it.
kaml_content* AddSettings(devhost::Document& document, const Values& values);

// Answers a document of nothing else.
devhost::Document SettingsDocument(const Values& values);
