// Loads a plug-in into the second host, delivers one request and releases the layer, in a private
// namespace: second_host_driver PLUGIN. Fails unless the kernel has the value in between, and its
// own again in the end.

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>

#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/kernel/scratch_files.h"
#include "examples/host/libe.h"
#include "tests/support/namespace.h"

namespace {

// A number of attempts with which no kernel starts, and the plug-in's own default is no kernel's
// either.
constexpr const char* kSetting = "tcp_syn_retries";
constexpr const char* kValue = "9";

std::string InTheKernel() {
  std::string value;
  std::ifstream(std::string("/proc/sys/net/ipv4/") + kSetting) >> value;
  return value;
}

void Expect(const std::string& what, const std::string& expected, const std::string& found) {
  if (found != expected) {
    throw std::runtime_error(what + " is \"" + found + "\" and not \"" + expected + '"');
  }
}

// Stays loaded until the process ends.
kaePlugin& Load(const char* path) {
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  void* symbol = library != nullptr ? dlsym(library, "this_kae_plugin") : nullptr;
  if (symbol == nullptr) {
    throw std::runtime_error(dlerror());
  }
  return **static_cast<kaePlugin**>(symbol);
}

void Play(kaePlugin& plugin) {
  const std::string before = InTheKernel();
  const example::Document document(kSetting, kValue);
  example::Request request;
  if (!plugin.InitPlugin()) {
    throw std::runtime_error("InitPlugin answers false");
  }
  kaeCPLayer* layer = dynamic_cast<kaeCPLayerFactory&>(plugin).GetNewLayer();
  dynamic_cast<kaeCPLayer::ConfigureCB&>(*layer).do_Configure(&request, document.content());
  Expect("the reply", "success", request.reply);
  Expect("the kernel's value after the request", kValue, InTheKernel());
  dynamic_cast<kaeCPLayer::ReleaseCB&>(*layer).do_Release();
  Expect("the kernel's value after the release", before, InTheKernel());
  plugin.CleanupPlugin();
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::fputs("usage: second_host_driver PLUGIN\n", stderr);
    return EXIT_FAILURE;
  }
  EnterPrivateNamespace();
  devhost::MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
  Play(Load(argv[1]));
  return EXIT_SUCCESS;
} catch (const devhost::NamespaceError& error) {
  return Skip(error.what());
} catch (const std::exception& error) {
  std::fprintf(stderr, "second_host_driver: %s\n", error.what());
  return EXIT_FAILURE;
}
