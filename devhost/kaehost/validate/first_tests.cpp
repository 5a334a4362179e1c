// The tests that others need. Each shows what the next ones rely on.

#include "devhost/kaehost/validate/trial.h"

namespace devhost {
namespace {

void Loads(Trial& trial) {
  trial.Step("loading the library");
  const PluginLibrary library(trial.path());
  trial.Step("unloading the library");
}

void Initialises(Trial& trial) {
  const Plugin& plugin = trial.Load();
  trial.Step("GetName and GetVersion");
  trial.name = plugin.name();
  trial.version = plugin.version();
}

// The layer is left as it is: whether it can be released is another test.
void MakesALayer(Trial& trial) { [[maybe_unused]] static const Layer left = trial.NewLayer(); }

void ReleasesALayer(Trial& trial) { trial.Release(trial.NewLayer()); }

void RepliesOnce(Trial& trial) {
  const Layer layer = trial.NewLayer();
  for (const auto& [contents, what] : {
           std::pair<Settings, const char*>{{},                  "an empty document"},
           {{{"tcp_sack", "0"}}, "a document"       }
  }) {
    const Document document = SettingsDocument(contents);
    const Answer answer = trial.Configure(layer, document, what);
    Expect(answer.reply != Reply::kNone, std::string("one reply to ") + what, "no reply");
    Expect(!answer.answered_again, std::string("one reply to ") + what, "more than one reply");
  }
  trial.Release(layer);
}

constexpr Test kTests[] = {
    {"loads",            "the library can be loaded (RTLD_NOW, RTLD_LOCAL); this_kae_plugin is not null",
     Needs::kFile,                                                                                                         Loads         },
    {"initialises",      "InitPlugin returns true; the plug-in has a name and a version",
     Needs::kLibrary,                                                                                                      Initialises   },
    {"makes-a-layer",    "the plug-in makes a layer that can be configured and released",
     Needs::kPlugin,                                                                                                       MakesALayer   },
    {"releases-a-layer", "do_Release ends a layer",                                                       Needs::kLayer,   ReleasesALayer},
    {"replies-once",     "a request gets exactly one reply",                                              Needs::kRelease, RepliesOnce   },
};

}  // namespace

std::span<const Test> FirstTests() { return kTests; }

}  // namespace devhost
