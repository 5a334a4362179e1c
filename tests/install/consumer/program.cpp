// Loads a plug-in and says which it is: program PLUGIN. Makes no layer, so no tunable is touched.

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "host/kae.h"
#include "host/kaml.h"

int main(int argc, char** argv) {
  void* library = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
  void* symbol = library != nullptr ? dlsym(library, "this_kae_plugin") : nullptr;
  if (symbol == nullptr) {
    std::fprintf(stderr, "program: %s\n", argc == 2 ? dlerror() : "usage: program PLUGIN");
    return EXIT_FAILURE;
  }
  kaePlugin& plugin = **static_cast<kaePlugin**>(symbol);
  const bool makes_layers = dynamic_cast<kaeCPLayerFactory*>(&plugin) != nullptr;
  std::printf("%s %s%s\n", plugin.GetName().c_str(), plugin.GetVersion().c_str(),
              makes_layers ? ", makes layers" : "");
  // The document functions are the host's own.
  return kaml_intern("tcp_sack") == kaml_intern("tcp_sack") ? EXIT_SUCCESS : EXIT_FAILURE;
}
