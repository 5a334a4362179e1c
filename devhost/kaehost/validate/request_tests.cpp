// Requests: what a document sets, and the reply.

#include <algorithm>
#include <cstdlib>
#include <set>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/kernel/scratch_files.h"
#include "devhost/kaehost/validate/prediction.h"
#include "devhost/kaehost/validate/trial.h"
#include "devhost/kaehost/validate/tunable_view.h"

namespace devhost {
namespace {

// Delivers the document to a new layer and expects success and the predicted tunables. Returns
// these.
Tunables ExpectEffect(Trial& trial, const Document& document, const std::string& what,
                      const Settings& effect) {
  const Layer layer = trial.NewLayer();
  Tunables expected = Prediction(ReadTunables()).Set(effect).AfterWriting();
  ExpectSuccess(trial.Configure(layer, document, what));
  ExpectTunables("after " + what, expected);
  trial.Release(layer);
  return expected;
}

void ExpectNoEffect(Trial& trial, const kaml_content* contents, const std::string& what) {
  const Layer layer = trial.NewLayer();
  const Tunables before = ReadTunables();
  ExpectSuccess(trial.Configure(layer, contents, what));
  ExpectTunables("after " + what, before);
  trial.Release(layer);
}

void AcceptsNoContent(Trial& trial) {
  ExpectNoEffect(trial, nullptr, "a document without content");
}

void IgnoresTopLevelText(Trial& trial) {
  Document document;
  document.AddText(nullptr, "\n");
  document.AddOther(nullptr, kComment);
  document.AddOther(nullptr, kProcessingInstruction);
  document.AddText(nullptr, "tcp-settings");
  ExpectNoEffect(trial, document.contents(), "a document with text and comments only");
}

// The host decides what to do with such a request.
void LeavesAForeignDocument(Trial& trial) {
  const Layer layer = trial.NewLayer();
  const Tunables before = ReadTunables();
  for (const char* root : {"other-settings", "TCP-settings", "tcp_sack"}) {
    Document document;
    kaml_content* element = document.AddElement(nullptr, root);
    document.AddText(document.AddElement(element, "tcp_sack"), "0");
    const std::string what = std::string("a document with the top-level element ") + root;
    const Answer answer = trial.Configure(layer, document, what);
    Expect(answer.reply == Reply::kNone, "no reply to " + what, "a reply");
    Expect(!answer.returned, "do_Configure returns false for " + what, "it returned true");
    ExpectTunables("after " + what, before);
  }
  trial.Release(layer);
}

void StopsAtAForeignElement(Trial& trial) {
  const Layer layer = trial.NewLayer();
  const Tunables expected = Prediction(ReadTunables())
                                .Set({
                                    {"tcp_sack", "0"}
  })
                                .AfterWriting();
  Document document = SettingsDocument(Settings{
      {"tcp_sack", "0"}
  });
  document.AddElement(nullptr, "other-settings");
  kaml_content* last = document.AddElement(nullptr, "tcp-settings");
  document.AddText(document.AddElement(last, "tcp_keepalive_time"), "60");
  const std::string what = "an element of another name between two tcp-settings";
  const Answer answer = trial.Configure(layer, document, what);
  Expect(answer.reply == Reply::kNone && !answer.returned,
         "no reply to " + what + "; do_Configure returns false", "a reply, or true");
  ExpectTunables("only the elements before it are applied", expected);
  trial.Release(layer);
}

// A value beside this one, so that most kernels accept it.
std::string ValueBeside(const std::string& value, bool is_above) {
  const long now = std::strtol(value.c_str(), nullptr, 10);
  return std::to_string(now > 0 && !is_above ? now - 1 : now + 1);
}

// A new namespace already has most of the defaults, so it gets other values first.
void ImposesItsDefaults(Trial& trial) {
  Settings others;
  for (const CatalogueEntry& entry : Catalogue()) {
    if (entry.imposed) {
      others.emplace_back(entry.element, ValueBeside(entry.default_value, true));
    }
  }
  Prediction(ReadTunables()).Set(others).Write();
  ExpectEffect(trial, SettingsDocument(Settings{}), "an empty tcp-settings", {});
}

// In a private namespace some files are missing.
void ShowAllTunables() {
  try {
    ShowWholeCatalogue();
  } catch (const NamespaceError& error) {
    throw Skipped{error.what()};
  }
}

// The kernel may refuse one of the two values. A value that no request changed has shown nothing.
void SetsEachElement(Trial& trial) {
  ShowAllTunables();
  Tunables without = Prediction(ReadTunables()).AfterWriting();
  std::set<std::string> unchanged;
  for (const CatalogueEntry& entry : Catalogue()) {
    unchanged.insert(entry.element);
  }
  for (const bool is_above : {false, true}) {
    Settings settings;
    for (const CatalogueEntry& entry : Catalogue()) {
      settings.emplace_back(
          entry.element, ValueBeside(ValueAt(entry.position, without[entry.file].text), is_above));
    }
    std::shuffle(settings.begin(), settings.end(), trial.random());
    Tunables with = ExpectEffect(trial, SettingsDocument(settings),
                                 std::string("a document with all elements, each with a ") +
                                     (is_above ? "higher value" : "lower value"),
                                 settings);
    for (const CatalogueEntry& entry : Catalogue()) {
      if (ValueAt(entry.position, with[entry.file].text) !=
          ValueAt(entry.position, without[entry.file].text)) {
        unchanged.erase(entry.element);
      }
    }
  }
  if (!unchanged.empty()) {
    throw Skipped{"all others are set, but this kernel accepts no other value of " +
                  *unchanged.begin()};
  }
}

void TakesTheLastOfRepeatedElements(Trial& trial) {
  ExpectEffect(trial,
               SettingsDocument(Settings{
                   {"tcp_sack",        "1" },
                   {"tcp_fin_timeout", "30"},
                   {"tcp_sack",        "0" }
  }),
               "a document with an element twice", {{"tcp_fin_timeout", "30"}, {"tcp_sack", "0"}});
}

void AppliesEachTopLevelElement(Trial& trial) {
  ExpectEffect(trial,
               SettingsDocument(std::vector<Settings>{
                   {{"tcp_sack", "0"}, {"tcp_fin_timeout", "30"}},
                   {{"tcp_fin_timeout", "40"}                }
  }),
               "a document with two tcp-settings", {{"tcp_sack", "0"}, {"tcp_fin_timeout", "40"}});
}

void KeepsEarlierValues(Trial& trial) {
  const Layer layer = trial.NewLayer();
  const Tunables expected = Prediction(ReadTunables())
                                .Set({
                                    {"tcp_sack",        "0" },
                                    {"tcp_fin_timeout", "30"}
  })
                                .AfterWriting();
  ExpectSuccess(trial.Configure(layer, {
                                           {"tcp_sack", "0"}
  }));
  ExpectSuccess(trial.Configure(layer, {
                                           {"tcp_fin_timeout", "30"}
  }));
  ExpectTunables("after the second request, with the values of both", expected);
  trial.Release(layer);
}

void IgnoresWhatItDoesNotKnow(Trial& trial) {
  Document document;
  kaml_content* root = document.AddElement(nullptr, "tcp-settings");
  document.AddText(root, "\n  ");
  document.AddOther(root, kComment);
  document.AddText(document.AddElement(root, "tcp_sak"), "0");
  document.AddText(document.AddElement(root, "tcp_rmem"), "1 2 3");
  document.AddElement(root, "tcp_window_scaling");  // without a value
  document.AddElement(document.AddElement(root, "tcp_dsack"), "nested");
  kaml_content* after_comment = document.AddElement(root, "tcp_frto");
  document.AddOther(after_comment, kComment);
  document.AddText(after_comment, "0");
  kaml_content* before_more = document.AddElement(root, "tcp_sack");
  document.AddText(before_more, "0");
  document.AddText(document.AddElement(before_more, "tcp_fin_timeout"), "30");
  ExpectEffect(trial, document, "a document with unknown, empty and nested elements",
               {
                   {"tcp_sack", "0"}
  });
}

void ComparesNamesAsPointers(Trial& trial) {
  static const char name[] = "tcp_sack";
  Document document;
  kaml_content* root = document.AddElement(nullptr, "tcp-settings");
  document.AddText(document.AddElementNamed(root, name), "0");
  ExpectEffect(trial, document, "a document with a name that is not interned", {});
}

void WritesValuesAsTheyAre(Trial& trial) {
  TunableView view;
  view.PutScratchFile("tcp_sack", "1\n");
  view.PutScratchFile("tcp_rmem", "1\t2\t3\n");
  view.PutScratchFile("tcp_fin_timeout", "60\n");
  const Layer layer = trial.NewLayer();
  ExpectSuccess(trial.Configure(
      layer, {
                 {"tcp_sack",         " 0x1 "},
                 {"tcp_rmem_default", "a  b" },
                 {"tcp_fin_timeout",  ""     }
  }));
  ExpectText("the bytes written for \" 0x1 \" are", " 0x1 ", view.ScratchText("tcp_sack"));
  ExpectText("the values of a file are joined by spaces, unchanged:", "4096 a  b 174760",
             view.ScratchText("tcp_rmem"));
  ExpectText("for an empty text, nothing is written:", "", view.ScratchText("tcp_fin_timeout"));
  trial.Release(layer);
  ExpectText("on release, the words that were read are written:", "1 2 3",
             view.ScratchText("tcp_rmem"));
}

void SurvivesHostileDocuments(Trial& trial) {
  constexpr std::size_t kLong = std::size_t{1} << 20;
  constexpr int kMany = 10'000;
  Document document;
  kaml_content* root = document.AddElement(nullptr, "tcp-settings");
  const auto add = [&](const std::string& name, const std::string& value) {
    document.AddText(document.AddElement(root, name.c_str()), value.c_str());
  };
  add(std::string(kLong, 'n'), "1");
  add("tcp_sack", std::string(kLong, '1'));
  add("%s%s%s%n", "%s%s%s%n");
  add("tcp_sack", "%s%s%s%n%p");
  add("tcp_sack", "\x1b[2J\x01\xff");
  for (int i = 0; i < kMany; ++i) {
    add("unknown" + std::to_string(i % 100), std::to_string(trial.random()()));
  }
  kaml_content* deep = root;
  for (int i = 0; i < kMany; ++i) {
    deep = document.AddElement(deep, "deep");
  }
  document.AddText(deep, "1");
  add("tcp_sack", "0");
  ExpectEffect(trial, document, "a hostile document",
               {
                   {"tcp_sack", "0"}
  });
}

// A host can reject a reply, which SendSuccess then reports.
void ReturnsWhatTheHostReturned(Trial& trial) {
  const Layer layer = trial.NewLayer();
  const Document document = SettingsDocument(Settings{});
  Request request;
  trial.Step("do_Configure, and again with a request that has a reply");
  const bool first = layer.configure->do_Configure(&request, document.contents());
  const bool second = layer.configure->do_Configure(&request, document.contents());
  Expect(first && !second, "do_Configure returns what SendSuccess returned: true, then false",
         std::string(first ? "true" : "false") + ", then " + (second ? "true" : "false"));
  trial.Release(layer);
}

void ChangesOnlyItsTunables(Trial& trial) {
  const Tunables before = ReadOtherTunables();
  const Layer layer = trial.NewLayer();
  trial.Configure(layer, {
                             {"tcp_sack",       "0"},
                             {"tcp_timestamps", "0"}
  });
  ExpectTunables("after a request, outside the catalogue", before, ReadOtherTunables());
  trial.Release(layer);
}

constexpr Test kTests[] = {
    {"accepts-no-content",                  "a document without content succeeds and changes nothing",
     Needs::kCatalogue,                                                                                                        AcceptsNoContent              },
    {"ignores-top-level-text",              "text and comments at the top succeed and change nothing",
     Needs::kCatalogue,                                                                                                        IgnoresTopLevelText           },
    {"leaves-a-foreign-document",           "a top-level element of another name gets no reply",
     Needs::kCatalogue,                                                                                                        LeavesAForeignDocument        },
    {"stops-at-a-foreign-element",          "only the tcp-settings before one of another name are applied",
     Needs::kCatalogue,                                                                                                        StopsAtAForeignElement        },
    {"imposes-its-defaults",                "the first request writes the fifteen defaults",                Needs::kCatalogue,
     ImposesItsDefaults                                                                                                                                      },
    {"sets-each-element",                   "each of the 57 elements sets its value",                       Needs::kCatalogue,
     SetsEachElement                                                                                                                                         },
    {"takes-the-last-of-repeated-elements", "of an element that is repeated, the last one counts",
     Needs::kCatalogue,                                                                                                        TakesTheLastOfRepeatedElements},
    {"applies-each-top-level-element",      "two tcp-settings are both applied and get one reply",
     Needs::kCatalogue,                                                                                                        AppliesEachTopLevelElement    },
    {"keeps-earlier-values",                "a request keeps the values of those before",                   Needs::kCatalogue,
     KeepsEarlierValues                                                                                                                                      },
    {"ignores-what-it-does-not-know",       "unknown, empty and nested elements change nothing",
     Needs::kCatalogue,                                                                                                        IgnoresWhatItDoesNotKnow      },
    {"compares-names-as-pointers",          "a name that the host has not interned is unknown",
     Needs::kCatalogue,                                                                                                        ComparesNamesAsPointers       },
    {"writes-values-as-they-are",           "the kernel gets the text of a value, byte by byte",
     Needs::kCatalogue,                                                                                                        WritesValuesAsTheyAre         },
    {"survives-hostile-documents",          "long, deep and strange documents do no harm",                  Needs::kCatalogue,
     SurvivesHostileDocuments                                                                                                                                },
    {"returns-what-the-host-returned",      "do_Configure returns what SendSuccess returned",
     Needs::kCatalogue,                                                                                                        ReturnsWhatTheHostReturned    },
    {"changes-only-its-tunables",           "a request changes no tunable outside the catalogue",
     Needs::kCatalogue,                                                                                                        ChangesOnlyItsTunables        },
};

}  // namespace

std::span<const Test> RequestTests() { return kTests; }

}  // namespace devhost
