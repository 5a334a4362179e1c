// A layer's whole life for a tracer to look at, in a private namespace:
//   traced_life tree     every second tunable is missing, the others hold a 7 for each value
//   traced_life kernel   this machine's kernel
// A write to no file at all marks each step. A whole life has gone before, so that what happens at
// the first time only is not seen.

#include <unistd.h>

#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/kernel/scratch_files.h"
#include "devhost/libe/document.h"
#include "devhost/libe/request.h"
#include "tests/kernel/built_layer.h"
#include "tests/support/catalogue.h"
#include "tests/support/tunable_tree.h"

namespace {

void Mark(const char* step) {
  // The kernel refuses it; the tracer sees it.
  [[maybe_unused]] const ssize_t refused = write(-1, step, std::strlen(step));
}

void Live(const devhost::Document& document) {
  Mark("snapshot");
  BuiltLayer layer;
  Mark("request");
  devhost::Request request;
  layer.Configure(request, document.contents());
  Mark("release");
  layer.Release();
  Mark("end");
}

void Fill(TunableTree& tree) {
  std::vector<std::string> files;
  std::map<std::string, std::string> texts;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (texts[setting.file].empty()) {
      files.emplace_back(setting.file);
    }
    texts[setting.file] += "7\t";
  }
  for (std::size_t i = 0; i < files.size(); ++i) {
    if (i % 2 == 1) {
      tree.MakeMissing(files[i]);
    } else {
      texts[files[i]].back() = '\n';
      tree.Write(files[i], texts[files[i]]);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  devhost::EnterPrivateNamespace();
  std::optional<TunableTree> tree;
  if (argc == 2 && std::strcmp(argv[1], "tree") == 0) {
    tree.emplace();
  } else {
    devhost::MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
  }
  devhost::Document document;
  kaml_content* root = document.AddElement(nullptr, "tcp-settings");
  document.AddText(document.AddElement(root, "tcp_sack"), "0");
  document.AddText(document.AddElement(root, "tcp_rmem_default"), "5000");
  for (int life = 0; life < 2; ++life) {
    if (tree) {
      Fill(*tree);
    }
    Live(document);
  }
}
