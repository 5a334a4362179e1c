// A layer's life, in a private namespace, for callgrind: it counts each call of a function whose
// name begins with "Counted". The script `count` knows their order. The tunables are files with
// fixed texts, so that the counts are the same on each kernel.

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <string>

#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/libe/document.h"
#include "devhost/libe/request.h"
#include "host/kae.h"
#include "tests/support/catalogue.h"
#include "tests/support/tunable_tree.h"

namespace {

using ConfigureCB = kaeCPLayer::ConfigureCB;
using ReleaseCB = kaeCPLayer::ReleaseCB;
using devhost::Document;

// What a private namespace of Linux 6.18 does not have.
constexpr const char* kMissing[] = {
    "ipv4/tcp_bic",
    "ipv4/tcp_bic_fast_convergence",
    "ipv4/tcp_bic_low_window",
    "ipv4/tcp_low_latency",
    "ipv4/tcp_max_orphans",
    "ipv4/tcp_rto_min",
    "ipv4/tcp_rto_max",
    "ipv4/tcp_mem",
    "ipv4/tcp_tw_recycle",
    "ipv4/tcp_vegas_alpha",
    "ipv4/tcp_vegas_beta",
    "ipv4/tcp_vegas_cong_avoid",
    "ipv4/tcp_vegas_gamma",
    "ipv4/tcp_westwood",
};

// Names from all parts of the catalogue: those at its end take longest to find.
constexpr const char* kKnown[] = {"rmem_max", "tcp_mem_low", "tcp_sack", "tcp_port_max"};
constexpr const char* kUnknown[] = {"tcp_mem", "ipfrag_time", "mtu", "tcp_sak"};

// Names of 16 characters and more, for which a string takes memory.
constexpr const char* kLong[] = {"tcp_abort_on_overflow", "tcp_adv_win_scale",
                                 "tcp_keepalive_intvl", "tcp_rmem_default"};

void Fill(TunableTree& tree) {
  std::map<std::string, std::string> texts;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    texts[setting.file] += std::string(setting.default_value) + '\t';
  }
  for (auto& [file, text] : texts) {
    if (std::find(std::begin(kMissing), std::end(kMissing), file) != std::end(kMissing)) {
      tree.MakeMissing(file);
    } else {
      text.back() = '\n';
      tree.Write(file, text);
    }
  }
}

Document DocumentOf(const auto& names, int elements) {
  Document document;
  kaml_content* root = document.AddElement(nullptr, "tcp-settings");
  for (int i = 0; i < elements; ++i) {
    document.AddText(document.AddElement(root, names[i % 4]), "4096");
  }
  return document;
}

// The same elements in a file.
std::string FileOf(const auto& names, int elements) {
  const std::string path = TunableTree::Path("document-" + std::to_string(elements));
  std::ofstream file(path);
  file << "<tcp-settings>";
  for (int i = 0; i < elements; ++i) {
    file << '<' << names[i % 4] << ">4096</" << names[i % 4] << '>';
  }
  file << "</tcp-settings>";
  return path;
}

[[noreturn]] void Fail(const std::string& why) {
  std::cerr << why << '\n';
  std::exit(1);
}

[[gnu::noinline]] kaeCPLayerFactory& CountedLoading() {
  void* library = dlopen(KAETCP_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  void* symbol = library != nullptr ? dlsym(library, "this_kae_plugin") : nullptr;
  if (symbol == nullptr) {
    Fail(dlerror());
  }
  kaePlugin& plugin = **static_cast<kaePlugin**>(symbol);
  plugin.InitPlugin();
  return dynamic_cast<kaeCPLayerFactory&>(plugin);
}

[[gnu::noinline]] kaeCPLayer* CountedSnapshot(kaeCPLayerFactory& factory) {
  return factory.GetNewLayer();
}

[[gnu::noinline]] void CountedRequest(ConfigureCB& layer, const Document& document) {
  devhost::Request request;
  layer.do_Configure(&request, document.contents());
  if (request.reply() != devhost::Reply::kSuccess) {
    Fail("a request failed: " + request.detail());
  }
}

[[gnu::noinline]] void CountedRelease(ReleaseCB& layer) { layer.do_Release(); }

[[gnu::noinline]] Document CountedReading(const std::string& path) { return Document::Read(path); }

void Live(kaeCPLayerFactory& factory, const Document& document) {
  kaeCPLayer* layer = CountedSnapshot(factory);
  auto& configure = dynamic_cast<ConfigureCB&>(*layer);
  auto& release = dynamic_cast<ReleaseCB&>(*layer);
  CountedRequest(configure, document);
  CountedRelease(release);
}

}  // namespace

int main() {
  devhost::EnterPrivateNamespace();
  TunableTree tree;
  Fill(tree);
  kaeCPLayerFactory& factory = CountedLoading();
  Document document;
  kaml_content* root = document.AddElement(nullptr, "tcp-settings");
  document.AddText(document.AddElement(root, "tcp_sack"), "0");
  document.AddText(document.AddElement(root, "tcp_rmem_default"), "5000");
  Live(factory, document);  // with what happens only the first time
  Live(factory, document);
  auto& layer = dynamic_cast<ConfigureCB&>(*factory.GetNewLayer());
  CountedRequest(layer, DocumentOf(kKnown, 0));
  CountedRequest(layer, DocumentOf(kKnown, 1000));
  CountedRequest(layer, DocumentOf(kUnknown, 1000));
  CountedReading(FileOf(kLong, 0));
  CountedReading(FileOf(kLong, 1000));
}
