#include "tests/plugin/loaded_plugin.h"

#include <dlfcn.h>
#include <link.h>

#include <stdexcept>

namespace {

void* NonNull(void* answer) {
  if (answer == nullptr) {
    throw std::runtime_error(dlerror());
  }
  return answer;
}

char* BaseOf(void* handle) {
  link_map* map = nullptr;
  if (dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0) {
    throw std::runtime_error(dlerror());
  }
  return reinterpret_cast<char*>(map->l_addr);
}

}  // namespace

LoadedLibrary::LoadedLibrary()
    : handle_(NonNull(dlopen(Path(), RTLD_NOW | RTLD_LOCAL))),
      plugin_(*static_cast<kaePlugin**>(NonNull(dlsym(handle_, "this_kae_plugin")))),
      base_(BaseOf(handle_)) {}

void LoadedLibrary::Unload() {
  if (handle_ != nullptr) {
    dlclose(handle_);
    handle_ = nullptr;
  }
}

bool LoadedLibrary::IsLoaded() {
  void* handle = dlopen(Path(), RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) {
    dlclose(handle);
  }
  return handle != nullptr;
}

const char* LoadedLibrary::Path() { return KAETCP_PLUGIN; }
