#pragma once

#include "host/kae.h"

// A layer of the plug-in as it was built: loaded, made and driven as the host does it, through the
// one exported pointer and by cross-casts.
class BuiltLayer {
 public:
  BuiltLayer();
  ~BuiltLayer() { Release(); }
  BuiltLayer(const BuiltLayer&) = delete;
  BuiltLayer& operator=(const BuiltLayer&) = delete;

  // Answers what the layer's do_Configure answers.
  bool Configure(kaeRequest& request, const kaml_content* contents);

  // Lets the layer end itself; the second time there is nothing left to do.
  void Release();

 private:
  kaeCPLayer* layer_;
};
