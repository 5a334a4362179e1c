// kaehost apply: documents to the plug-in, and back to what was.

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/command.h"
#include "devhost/kaehost/output.h"
#include "devhost/kaehost/plugin.h"
#include "devhost/kaehost/sandbox.h"
#include "devhost/kaehost/tunables.h"
#include "devhost/libe/document.h"
#include "devhost/libe/request.h"

namespace devhost {
namespace {

struct Options {
  std::vector<std::string> documents;
  std::string plugin = DefaultPlugin();
  std::string netns;   // the network namespace to go to; empty for a private one
  bool as_is = false;  // leave the read-only core files as the kernel has them
};

constexpr const char* kExitStatuses =
    "Exit status:\n"
    "  0   every request was answered with success, every tunable is back\n"
    "  1   an error reply, no reply, a tunable that is not back, or any other failure\n"
    "  2   the command line or a document is bad; nothing was delivered\n"
    "  3   the plug-in does not load or makes no layer; nothing was delivered\n"
    "  77  no private namespace is to be had";

// Sets kaehost's own lines apart from the plug-in's.
std::ostream& Say() { return Out() << "kaehost: "; }

// An empty line and then a line of our own. The plug-in's passes begin with an empty line too, so
// there is none at the end of what kaehost says.
std::ostream& SayNext() { return Out() << '\n', Say(); }

void MakeCoreFilesWritable() {
  const std::vector<std::string> core_files = {"/proc/sys/net/core/rmem_max",
                                               "/proc/sys/net/core/wmem_max"};
  for (const std::string& path : MakeWritable(core_files)) {
    Say() << path << " is read-only here; a scratch file stands in for it\n";
  }
}

// Answers what do_Configure threw, if it did not come back.
std::optional<std::string> Configure(const Layer& layer, Request* request,
                                     const Document& document) try {
  layer.configure->do_Configure(request, document.contents());
  return std::nullopt;
} catch (...) {
  return Thrown();
}

// Answers whether the reply is success.
bool SayReply(const Request& request) {
  Say() << "reply: ";
  switch (request.reply()) {
    case Reply::kNone:
      Out() << "none; the layer left the request unanswered\n";
      break;
    case Reply::kSuccess:
      Out() << "success\n";
      break;
    case Reply::kError:
      Out() << "error: " << request.error() << ": " << request.detail() << '\n';
      break;
  }
  if (request.answered_again()) {
    Say() << "the layer replied more than once; only its first reply counts\n";
  }
  return request.reply() == Reply::kSuccess;
}

// Delivers one document; answers whether the layer answered it with success and came back.
bool Deliver(const Document& document, const std::string& name, const Layer& layer) {
  SayNext() << "request: " << name << std::endl;
  const Tunables before = ReadTunables();
  Request request;
  const std::optional<std::string> thrown = Configure(layer, &request, document);
  Out() << '\n';
  if (thrown) {
    Say() << "the layer's do_Configure threw: " << *thrown << '\n';
  }
  const bool success = SayReply(request);
  const std::vector<Change> changes = Compare(before, ReadTunables());
  if (changes.empty()) {
    Say() << "the request changed no tunable\n";
  } else {
    Say() << "the request changed:\n";
    PrintTable(Out(), changes);
  }
  return success && !thrown;
}

// Answers whether do_Release came back; what it threw is told.
bool Release(const Layer& layer) try {
  SayNext() << "releasing the layer" << std::endl;
  layer.release->do_Release();
  SayNext() << "layer released; ";
  return true;
} catch (...) {
  SayNext() << "the layer's do_Release threw: " << Thrown() << '\n';
  Say();
  return false;
}

bool SayWhetherRestored(const Tunables& before) {
  const std::vector<Change> changes = Compare(before, ReadTunables());
  if (changes.empty()) {
    Out() << "every tunable is back at its value\n";
    return true;
  }
  Out() << "not back at their values:\n";
  PrintTable(Out(), changes);
  return false;
}

// Delivers the documents, each as one request, to a new layer of the plug-in, shows on standard
// output what became of each, releases the layer and compares. What a layer throws is told and ends
// nothing.
int Apply(const Options& options) {
  std::vector<Document> documents;
  for (const std::string& path : options.documents) {
    documents.push_back(Document::Read(path));
  }

  if (options.netns.empty()) {
    EnterPrivateNamespace();
    Say() << "in a private namespace; the machine's own tunables are out of reach\n";
  } else {
    EnterNetworkNamespace(options.netns);
    Say() << "in the network namespace " << options.netns << "; its tunables will be put back\n";
  }
  if (!options.as_is) {
    MakeCoreFilesWritable();
  }
  const Tunables before = ReadTunables();

  std::cout.flush();  // what has been told must not go under with a plug-in that fails to load
  const Plugin plugin(options.plugin);
  const std::string name_and_version = plugin.name() + ", version " + plugin.version();
  Say() << "plug-in " << name_and_version << std::endl;
  const Layer layer = plugin.NewLayer();
  bool success = true;
  for (std::size_t i = 0; i < documents.size(); ++i) {
    success = Deliver(documents[i], options.documents[i], layer) && success;
  }
  success = Release(layer) && success;
  return SayWhetherRestored(before) && success ? kDone : kFailed;
}

}  // namespace

void AddApply(CLI::App& app, Chosen& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* apply = app.add_subcommand(
      "apply", "Deliver documents to the plug-in in a private namespace, then restore");
  apply->footer(kExitStatuses);
  apply->add_option("DOCUMENT", options->documents, "XML file; each is one request, in order")
      ->required();
  apply->add_flag("--as-is", options->as_is,
                  "Leave core/rmem_max and core/wmem_max read-only, as the kernel has them");
  apply
      ->add_option("--netns", options->netns,
                   "Not in a private namespace but in this network namespace: a name of ip netns, "
                   "or a path")
      ->type_name("NAME");
  apply
      ->add_option("--plugin", options->plugin,
                   "The plug-in to load, by default libkaetcp.so beside this program")
      ->type_name("FILE");
  apply->callback([options, &chosen] { chosen = [options] { return Apply(*options); }; });
}

}  // namespace devhost
