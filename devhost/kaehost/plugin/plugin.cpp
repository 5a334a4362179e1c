#include "devhost/kaehost/plugin/plugin.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

#include "devhost/kaehost/plugin/elf.h"
#include "devhost/kaehost/plugin/trace.h"
#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

// Adds a slash, so that the loader does not search for the name in other folders.
std::string WithSlash(const std::string& path) {
  return path.find('/') != std::string::npos ? path : "./" + path;
}

// Returns the loader's error without the path with which it usually begins.
std::string LoaderError(const std::string& path) {
  const std::string text = dlerror();
  if (IsForAnotherProcessor(path)) {
    return "the file is for another processor than this kaehost";
  }
  const std::string prefix = WithSlash(path) + ": ";
  return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
}

}  // namespace

std::string DefaultPlugin() {
  const auto program = std::filesystem::read_symlink("/proc/self/exe");
  const auto beside = program.parent_path() / "libkaetcp.so";
  const auto installed = program.parent_path() / KAETCP_PLUGIN_FROM_PROGRAM / "libkaetcp.so";
  std::error_code unreadable;
  return exists(beside, unreadable) ? beside : installed.lexically_normal();
}

void PluginLibrary::Unload::operator()(void* handle) const {
  Traced("dlclose", {}, [handle]() noexcept { return dlclose(handle) == 0; });
}

PluginLibrary::PluginLibrary(const std::string& path) {
  std::error_code unreadable;
  if (std::filesystem::is_fifo(path, unreadable)) {
    throw PluginError(path + ": the plug-in does not load: not a regular file");
  }
  if (LacksItsEnd(path)) {
    throw PluginError(path + ": the plug-in does not load: the file is truncated; copy it again");
  }
  // The loader is not written for exceptions, such as those of a library's constructors.
  handle_.reset(Traced("dlopen", {TextOf(path.c_str())}, [&path]() noexcept {
    return dlopen(WithSlash(path).c_str(), RTLD_NOW | RTLD_LOCAL);
  }));
  if (handle_ == nullptr) {
    throw PluginError(path + ": the plug-in does not load: " + LoaderError(path));
  }
  pointer_ = static_cast<kaePlugin**>(dlsym(handle_.get(), "this_kae_plugin"));
  if (pointer_ == nullptr) {
    throw PluginError(path + ": not a plug-in: it does not export the symbol this_kae_plugin");
  }
  if (*pointer_ == nullptr) {
    throw PluginError(path + ": not a plug-in: its this_kae_plugin is null");
  }
}

template <class Operation>
auto Plugin::Call(const char* name, Operation operation) const {
  try {
    return Traced(name, {}, operation);
  } catch (...) {
    throw PluginError(path_ + ": the plug-in's " + name + " threw: " + Thrown());
  }
}

Plugin::Plugin(const std::string& path) : path_(path), library_(path), plugin_(library_.object()) {
  if (!Call("InitPlugin", [this] { return plugin_->InitPlugin(); })) {
    throw PluginError(path_ + ": the plug-in is not ready: its InitPlugin returned false");
  }
}

Plugin::~Plugin() {
  try {
    Traced("CleanupPlugin", {}, [this] { return plugin_->CleanupPlugin(), Nothing(); });
  } catch (...) {
    TellError(path_ + ": the plug-in's CleanupPlugin threw: " + Thrown());
  }
}

std::string Plugin::name() const {
  return Call("GetName", [this] { return plugin_->GetName(); });
}

std::string Plugin::version() const {
  return Call("GetVersion", [this] { return plugin_->GetVersion(); });
}

Layer Plugin::NewLayer() const {
  auto* factory = dynamic_cast<kaeCPLayerFactory*>(plugin_);
  if (factory == nullptr) {
    throw PluginError(path_ + ": the plug-in cannot make layers: it is not a kaeCPLayerFactory");
  }
  kaeCPLayer* layer = Call("GetNewLayer", [factory] { return factory->GetNewLayer(); });
  if (layer == nullptr) {
    throw PluginError(path_ + ": the plug-in made no layer: its GetNewLayer returned null");
  }
  const Layer callbacks{
      dynamic_cast<kaeCPLayer::ConfigureCB*>(layer), dynamic_cast<kaeCPLayer::ReleaseCB*>(layer),
      dynamic_cast<kaeCPLayer::StartCB*>(layer), dynamic_cast<kaeCPLayer::StopCB*>(layer)};
  if (callbacks.configure == nullptr || callbacks.release == nullptr) {
    delete layer;
    throw PluginError(path_ + ": the plug-in's layer cannot be used: it is not a kaeCPLayer::" +
                      (callbacks.configure == nullptr ? "ConfigureCB" : "ReleaseCB"));
  }
  return callbacks;
}

}  // namespace devhost
