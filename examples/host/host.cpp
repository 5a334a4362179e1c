// A host in one file: loads the plug-in, delivers a document, prints the reply and releases the
// layer. It writes the tunables of the network namespace that it runs in:
//   host PLUGIN

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

#include "libe.h"

namespace {

kaePlugin& Load(const char* path) {
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  void* symbol = library != nullptr ? dlsym(library, "this_kae_plugin") : nullptr;
  if (symbol == nullptr) {
    throw std::runtime_error(dlerror());
  }
  return **static_cast<kaePlugin**>(symbol);
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::fputs("usage: host PLUGIN\n", stderr);
    return EXIT_FAILURE;
  }
  kaePlugin& plugin = Load(argv[1]);
  std::printf("plug-in %s, version %s\n", plugin.GetName().c_str(), plugin.GetVersion().c_str());
  plugin.InitPlugin();
  kaeCPLayer* layer = dynamic_cast<kaeCPLayerFactory&>(plugin).GetNewLayer();

  const example::Document document("tcp_syn_retries", "9");
  example::Request request;
  dynamic_cast<kaeCPLayer::ConfigureCB&>(*layer).do_Configure(&request, document.content());
  std::printf("reply: %s\n", request.reply.c_str());

  dynamic_cast<kaeCPLayer::ReleaseCB&>(*layer).do_Release();  // restores the tunables
  plugin.CleanupPlugin();
  return EXIT_SUCCESS;
} catch (const std::exception& error) {
  std::fprintf(stderr, "host: %s\n", error.what());
  return EXIT_FAILURE;
}
