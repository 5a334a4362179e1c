#include "tests/kernel/built_layer.h"

#include <dlfcn.h>

#include <stdexcept>

namespace {

// The library stays loaded for the life of the process, as on a device.
kaeCPLayerFactory& LoadFactory() {
  void* library = dlopen(KAETCP_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  void* symbol = library != nullptr ? dlsym(library, "this_kae_plugin") : nullptr;
  if (symbol == nullptr) {
    throw std::runtime_error(dlerror());
  }
  return dynamic_cast<kaeCPLayerFactory&>(**static_cast<kaePlugin**>(symbol));
}

kaeCPLayerFactory& Factory() {
  static kaeCPLayerFactory& factory = LoadFactory();
  return factory;
}

}  // namespace

BuiltLayer::BuiltLayer() : layer_(Factory().GetNewLayer()) {}

bool BuiltLayer::Configure(kaeRequest& request, const kaml_content* contents) {
  return dynamic_cast<kaeCPLayer::ConfigureCB&>(*layer_).do_Configure(&request, contents);
}

void BuiltLayer::Release() {
  if (layer_ != nullptr) {
    dynamic_cast<kaeCPLayer::ReleaseCB&>(*layer_).do_Release();
    layer_ = nullptr;
  }
}
