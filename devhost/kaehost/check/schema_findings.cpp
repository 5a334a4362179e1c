#include "devhost/kaehost/check/schema_findings.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#include "devhost/kaehost/check/schema_module.h"

namespace devhost {
namespace {

constexpr const char* kModule = "kaehost_schema.so";

// More than the module and its libraries take. The loader does not always say that it found too
// little memory.
void MakeSureOfMemory() {
  constexpr std::size_t kEnough = std::size_t{64} << 20;
  ::operator delete(::operator new(kEnough));
}

// The loader finds the module by the run path, like libe.so, which lies beside it.
auto LoadModule() {
  void* module = dlopen(kModule, RTLD_NOW | RTLD_LOCAL);
  void* function = module != nullptr ? dlsym(module, "kaehost_add_schema_findings") : nullptr;
  if (function == nullptr) {
    const std::string why = dlerror();
    MakeSureOfMemory();
    if (why.find(std::strerror(ENOMEM)) != std::string::npos) {
      throw std::bad_alloc();
    }
    throw std::runtime_error("cannot load the library that validates documents: " + why +
                             "; install kaehost again");
  }
  return reinterpret_cast<decltype(&kaehost_add_schema_findings)>(function);
}

}  // namespace

std::vector<Finding> FindingsOfSchema(const Document& document) {
  static const auto add_findings = LoadModule();
  std::vector<Finding> findings;
  add_findings(document, &findings);
  return findings;
}

}  // namespace devhost
