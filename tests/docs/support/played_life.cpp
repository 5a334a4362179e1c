#include "tests/docs/support/played_life.h"

#include <algorithm>
#include <functional>
#include <sstream>

#include "tests/plugin/loaded_plugin.h"
#include "tests/support/host.h"
#include "tests/support/output.h"
#include "tests/support/tunable_tree.h"

namespace {

using recording_host::Element;
using recording_host::List;
using recording_host::Node;
using recording_host::Settings;
using recording_host::Text;
using recording_host::Value;

constexpr int kComment = 2;

using Play = std::function<void(TunableTree&, const std::function<void(kaml_content*)>&)>;

// Lets a layer live on a kernel that lacks tcp_bic and has prepared the others as `prepare` does.
std::string Printed(const std::function<void(TunableTree&)>& prepare, const Play& play) {
  const NewHost host;
  CapturedOutput output;
  TunableTree tree;
  tree.MakeMissing("ipv4/tcp_bic");
  prepare(tree);
  const LoadedLibrary library;
  Layer layer(dynamic_cast<kaeCPLayerFactory&>(*library.plugin()).GetNewLayer());
  play(tree, [&](kaml_content* document) {
    recording_host::Request request;
    dynamic_cast<kaeCPLayer::ConfigureCB&>(*layer).do_Configure(&request, document);
  });
  dynamic_cast<kaeCPLayer::StartCB&>(*layer).do_Start();
  dynamic_cast<kaeCPLayer::StopCB&>(*layer).do_Stop();
  layer.reset();
  return output.Take();
}

std::string LifeAmongObstacles() {
  return Printed(
      [](TunableTree& tree) {
        tree.Write("ipv4/tcp_sack", "1\n");
        tree.Write("ipv4/tcp_frto", "");
        tree.Write("ipv4/tcp_rmem", "4096\n");
        tree.MakeLoop("ipv4/tcp_ecn");
        tree.MakeFull("ipv4/tcp_fack");
      },
      [](TunableTree& tree, const auto& configure) {
        configure(nullptr);
        configure(List({Text("\n"), Element("other-settings")}));
        tree.Write("ipv4/tcp_ecn", "2\n");
        configure(List({Settings({Text("\n"), Node(kComment, nullptr), Value("tcp_sack", " 0 "),
                                  Value("unknown", "1"), Element("tcp_frto"),
                                  Element("tcp_fack", {Node(kComment, nullptr), Text("1")})}),
                        Settings()}));
        tree.MakeFolder("ipv4/tcp_westwood");
        tree.MakeSocket("ipv4/tcp_tw_reuse");
        configure(Settings({Value("tcp_sack", "0")}));
      });
}

std::string LifeInAContainer() {
  return Printed(
      [](TunableTree& tree) {
        for (const char* name : {"core/rmem_max", "core/wmem_max"}) {
          tree.Write(name, "212992\n");
          tree.WriteProtect(name);
        }
      },
      [](TunableTree&, const auto& configure) { configure(Settings()); });
}

void AddOnce(std::vector<std::string>* texts, const std::string& text) {
  if (std::find(texts->begin(), texts->end(), text) == texts->end()) {
    texts->push_back(text);
  }
}

}  // namespace

PlayedLife PlayLife() {
  PlayedLife life;
  std::istringstream printed(LifeAmongObstacles() + LifeInAContainer());
  for (std::string line; std::getline(printed, line);) {
    if (line.starts_with('{')) {  // the recording host's
      AddOnce(&life.replies, line.substr(1, line.size() - 2));
    } else if (!line.empty()) {
      AddOnce(&life.lines, line);
    }
  }
  return life;
}
