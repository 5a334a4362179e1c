// The life of layers, from loading the library to unloading it.

#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <thread>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/plugin/trace.h"
#include "devhost/kaehost/validate/prediction.h"
#include "devhost/kaehost/validate/trial.h"

namespace devhost {
namespace {

constexpr int kManyLayers = 1000;

void WritesNothingBeforeARequest(Trial& trial) {
  const Tunables before = ReadTunables();
  const Tunables others = ReadOtherTunables();
  trial.Load();
  ExpectTunables("after loading", before);
  const Layer layer = trial.NewLayer();
  ExpectTunables("after GetNewLayer", before);
  ExpectTunables("outside the catalogue", others, ReadOtherTunables());
  trial.Release(layer);
}

void ChangesNothingWithoutARequest(Trial& trial) {
  const Layer layer = trial.NewLayer();
  const Tunables before = ReadTunables();
  trial.Release(layer);
  ExpectTunables("after a layer without a request is released", before);
}

// New values for all elements whose files are there.
Settings OtherValues(std::mt19937& random) {
  const Tunables before = ReadTunables();
  Settings settings;
  for (const CatalogueEntry& entry : Catalogue()) {
    const auto found = before.find(entry.file);
    const auto position = static_cast<std::size_t>(entry.position);
    if (found != before.end() && WordsOf(found->second.text).size() > position) {
      const long now = std::strtol(WordsOf(found->second.text)[position].c_str(), nullptr, 10);
      settings.emplace_back(entry.element, std::to_string(now > 0 ? now - 1 : now + 1));
    }
  }
  std::shuffle(settings.begin(), settings.end(), random);
  return settings;
}

void RestoresOnRelease(Trial& trial) {
  const Layer layer = trial.NewLayer();
  const Tunables before = ReadTunables();
  const Tunables others = ReadOtherTunables();
  for (int i = 0; i < 2; ++i) {
    trial.Configure(layer, OtherValues(trial.random()));
  }
  trial.Release(layer);
  ExpectTunables("after do_Release, as before the first request", before);
  ExpectTunables("after do_Release, outside the catalogue", others, ReadOtherTunables());
}

void ChangesNothingAtItsEnd(Trial& trial) {
  trial.LeadALife();
  const Tunables released = ReadTunables();
  trial.Unload();
  ExpectTunables("after unloading, as after do_Release", released);
}

void OffersItsCallbacks(Trial& trial) {
  const Layer layer = trial.NewLayer();
  Expect(layer.start != nullptr, "the layer is a kaeCPLayer::StartCB", "it is not");
  Expect(layer.stop != nullptr, "the layer is a kaeCPLayer::StopCB", "it is not");
  auto* whole = dynamic_cast<kaeCPLayer*>(layer.configure);
  Expect(whole != nullptr &&
             dynamic_cast<kaeCPLayer::ReleaseCB*>(layer.configure) == layer.release &&
             dynamic_cast<kaeCPLayer::StartCB*>(layer.release) == layer.start &&
             dynamic_cast<kaeCPLayer::StopCB*>(layer.start) == layer.stop &&
             dynamic_cast<kaeCPLayer*>(layer.stop) == whole,
         "casts between the callbacks of a layer", "a cast fails");
  trial.Release(layer);
}

// What a layer does not offer, another test reports.
Layer NewStartableLayer(Trial& trial) {
  const Layer layer = trial.NewLayer();
  if (layer.start == nullptr || layer.stop == nullptr) {
    throw Skipped{"the layer is not a kaeCPLayer::StartCB and StopCB"};
  }
  return layer;
}

void HasItsBasesInOrder(Trial& trial) {
  const Layer layer = NewStartableLayer(trial);
  const auto* begin = static_cast<const char*>(dynamic_cast<void*>(layer.configure));
  const auto offset_of = [begin](const void* base) {
    return std::to_string((static_cast<const char*>(base) - begin) /
                          static_cast<std::ptrdiff_t>(sizeof(void*)));
  };
  ExpectText("in words from the layer's address, kaeCPLayer and the four callbacks are at",
             "0, 1, 2, 3, 4",
             offset_of(dynamic_cast<kaeCPLayer*>(layer.configure)) + ", " +
                 offset_of(layer.configure) + ", " + offset_of(layer.release) + ", " +
                 offset_of(layer.start) + ", " + offset_of(layer.stop));
  trial.Release(layer);
}

void StartsAndStopsWithoutEffect(Trial& trial) {
  const Layer layer = NewStartableLayer(trial);
  trial.Configure(layer, {
                             {"tcp_sack", "0"}
  });
  const Tunables before = ReadTunables();
  std::string output;
  {
    const PrintedText printed;
    for (int i = 0; i < 2; ++i) {
      trial.Step("do_Start");
      layer.start->do_Start();
      trial.Step("do_Stop");
      layer.stop->do_Stop();
    }
    output = printed.Output();
  }
  ExpectTunables("after do_Start and do_Stop", before);
  ExpectText("do_Start and do_Stop print", "", output);
  trial.Release(layer);
}

std::string Sack() { return ReadTunables()["ipv4/tcp_sack"].text; }

void WriteSack(const char* value) { std::ofstream("/proc/sys/net/ipv4/tcp_sack") << value; }

void KeepsASnapshotForEachLayer(Trial& trial) {
  WriteSack("1");
  const Layer early = trial.NewLayer();
  WriteSack("0");
  const Layer late = trial.NewLayer();
  trial.Configure(early, {
                             {"tcp_timestamps", "0"}
  });
  ExpectText("tcp_sack after a request to the layer that found 1 there is", "1", Sack());
  trial.Configure(late, {
                            {"tcp_timestamps", "0"}
  });
  ExpectText("tcp_sack after a request to the layer that found 0 there is", "0", Sack());
  trial.Release(early);
  ExpectText("tcp_sack after the release of the layer that found 1 there is", "1", Sack());
  trial.Release(late);
  ExpectText("tcp_sack after the release of the layer that found 0 there is", "0", Sack());
}

bool IsLoaded(const std::string& path) {
  void* found = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (found != nullptr) {
    dlclose(found);
  }
  return found != nullptr;
}

void Unloads(Trial& trial) {
  const std::string path = std::filesystem::absolute(trial.path());
  for (int i = 0; i < 3; ++i) {
    trial.LeadALife();
    trial.Unload();
    Expect(!IsLoaded(path), "the library is unloaded by dlclose", "it stays loaded");
  }
}

// The layer can never be released then, and the kernel keeps the values.
void UnloadsWithALayer(Trial& trial) {
  static Layer left = trial.NewLayer();
  trial.Configure(left, {
                            {"tcp_sack", "0"}
  });
  trial.Step("CleanupPlugin");
  trial.Load().library().object()->CleanupPlugin();
  const Tunables before = ReadTunables();
  trial.Unload();
  ExpectTunables("after unloading with a layer, as before", before);
  trial.Release(trial.NewLayer());
}

// In KiB, without what files have in memory. /proc/self/statm would be inexact by more than what is
// looked for.
long OwnMemory() {
  std::ifstream file("/proc/self/smaps_rollup");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("Anonymous:")) {
      return std::strtol(line.c_str() + line.find(':') + 1, nullptr, 10);
    }
  }
  throw Skipped{"cannot read the size of the memory in /proc/self/smaps_rollup"};
}

std::ptrdiff_t OpenFiles() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                       std::filesystem::directory_iterator());
}

// What the sanitizers keep of freed memory is not growth.
constexpr bool HasSanitizer() {
#if defined(__has_feature)
  return __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return true;
#else
  return false;
#endif
}

void MakesManyLayers(Trial& trial) {
  constexpr int kWarmUp = 200;
  constexpr long kMostKib = 128;
  long memory = 0;
  std::ptrdiff_t files = 0;
  for (int i = 0; i < kManyLayers; ++i) {
    if (i == kWarmUp) {
      memory = OwnMemory();
      files = OpenFiles();
    }
    const Layer layer = trial.Load().NewLayer();
    try {
      layer.release->do_Release();
    } catch (...) {
      throw Failure{"do_Release throws nothing", "it threw: " + Thrown()};
    }
  }
  const long grown = OwnMemory() - memory;
  Expect(HasSanitizer() || grown <= kMostKib,
         "800 layers let the memory grow by at most " + std::to_string(kMostKib) + " KiB",
         std::to_string(grown) + " KiB");
  ExpectText("as many open files as 800 layers before:", std::to_string(files),
             std::to_string(OpenFiles()));
}

void WorksOnThreads(Trial& trial) {
  constexpr int kRequests = 20;
  const Plugin& plugin = trial.Load();
  std::array<std::string, 4> problems;
  trial.Step("layers on four threads");
  {
    std::vector<std::thread> threads;
    threads.reserve(problems.size());
    for (std::string& problem : problems) {
      threads.emplace_back([&plugin, &problem] {
        try {
          const Layer layer = plugin.NewLayer();
          const Document document = SettingsDocument(Settings{
              {"tcp_sack", "0"}
          });
          for (int i = 0; i < kRequests; ++i) {
            Request request;
            const bool returned = layer.configure->do_Configure(&request, document.contents());
            if (request.reply() != Reply::kSuccess || request.answered_again() || !returned) {
              problem = "a request failed: " + request.error() + " " + request.detail();
            }
          }
          layer.release->do_Release();
        } catch (...) {
          problem = "threw: " + Thrown();
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  }
  for (const std::string& problem : problems) {
    Expect(problem.empty(), "each thread's requests to its own layer succeed", problem);
  }
}

constexpr Test kTests[] = {
    {"writes-nothing-before-a-request",   "loading and making a layer change no tunable",
     Needs::kRelease,                                                                                                             WritesNothingBeforeARequest  },
    {"changes-nothing-without-a-request", "a layer that gets no request changes no tunable",
     Needs::kRelease,                                                                                                             ChangesNothingWithoutARequest},
    {"restores-on-release",               "after requests for all elements, do_Release restores all tunables",
     Needs::kReply,                                                                                                               RestoresOnRelease            },
    {"changes-nothing-at-its-end",        "CleanupPlugin and unloading change no tunable",                     Needs::kReply,
     ChangesNothingAtItsEnd                                                                                                                                    },
    {"offers-its-callbacks",              "a layer can be cast to its four callbacks, and between them",
     Needs::kCatalogue,                                                                                                           OffersItsCallbacks           },
    {"has-its-bases-in-order",            "the base classes of a layer have their positions",
     Needs::kCatalogue,                                                                                                           HasItsBasesInOrder           },
    {"starts-and-stops-without-effect",   "do_Start and do_Stop change and print nothing",
     Needs::kCatalogue,                                                                                                           StartsAndStopsWithoutEffect  },
    {"keeps-a-snapshot-for-each-layer",   "two layers restore what each of them found",
     Needs::kCatalogue,                                                                                                           KeepsASnapshotForEachLayer   },
    {"unloads",                           "the library can be unloaded and loaded again",                      Needs::kReply,     Unloads                      },
    {"unloads-with-a-layer",              "unloading before a layer is released changes no tunable",
     Needs::kCatalogue,                                                                                                           UnloadsWithALayer            },
    {"makes-many-layers",                 "1,000 layers let neither memory nor open files grow",               Needs::kRelease,
     MakesManyLayers                                                                                                                                           },
    {"works-on-threads",                  "four threads use a layer each at the same time",                    Needs::kCatalogue,
     WorksOnThreads                                                                                                                                            },
};

}  // namespace

std::span<const Test> LayerTests() { return kTests; }

}  // namespace devhost
