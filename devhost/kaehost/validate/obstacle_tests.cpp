// Tunables that cannot be opened for writing: the error reply, and the rollback before it.

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "devhost/kaehost/validate/prediction.h"
#include "devhost/kaehost/validate/trial.h"
#include "devhost/kaehost/validate/tunable_view.h"

namespace devhost {
namespace {

// Every kernel has it, and it is written after others.
constexpr const char* kVictim = "tcp_timestamps";

void ExpectErrorBehind(Trial& trial, void (TunableView::*lay)(const std::string&)) {
  TunableView view;
  const Layer layer = trial.NewLayer();
  (view.*lay)(kVictim);
  ExpectFileError(trial.Configure(layer, {
                                             {"tcp_sack", "0"}
  }));
  view.PutBack(kVictim);
  trial.Release(layer);
}

void FailsAtAReadOnlyFile(Trial& trial) { ExpectErrorBehind(trial, &TunableView::MakeReadOnly); }
void FailsAtADirectory(Trial& trial) { ExpectErrorBehind(trial, &TunableView::PutDirectory); }
void FailsAtASocket(Trial& trial) { ExpectErrorBehind(trial, &TunableView::PutSocket); }
void FailsAtALoop(Trial& trial) { ExpectErrorBehind(trial, &TunableView::PutLoop); }

// During its lifetime, no more file can be opened.
class NoDescriptor {
 public:
  NoDescriptor() {
    getrlimit(RLIMIT_NOFILE, &former_);
    const int next = open("/", O_PATH | O_CLOEXEC);
    close(next);
    const rlimit none = {static_cast<rlim_t>(next), former_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
  }
  ~NoDescriptor() { setrlimit(RLIMIT_NOFILE, &former_); }
  NoDescriptor(const NoDescriptor&) = delete;
  NoDescriptor& operator=(const NoDescriptor&) = delete;

 private:
  rlimit former_ = {};
};

void FailsWithoutADescriptor(Trial& trial) {
  const Layer layer = trial.NewLayer();
  const Document document = SettingsDocument(Settings{
      {"tcp_sack", "0"}
  });
  // Once with descriptors: a sanitizer needs one to check the type of an object that it meets
  // first.
  trial.Configure(layer, document, "a document");
  Answer answer = {};
  {
    const NoDescriptor none;
    answer = trial.Configure(layer, document, "a document, without a free descriptor");
  }
  ExpectFileError(answer);
  trial.Release(layer);
}

void SkipsAMissingFile(Trial& trial) {
  TunableView view;
  view.Remove(kVictim);
  const Layer layer = trial.NewLayer();
  const Tunables expected = Prediction(ReadTunables())
                                .Set({
                                    {"tcp_sack", "0"}
  })
                                .AfterWriting();
  ExpectSuccess(trial.Configure(layer, {
                                           {"tcp_sack", "0"}
  }));
  ExpectTunables("after a request without " + std::string(kVictim), expected);
  view.PutBack(kVictim);
  trial.Release(layer);
}

void NamesTheFile(Trial& trial) {
  TunableView view;
  const Layer layer = trial.NewLayer();
  view.PutBelowAFile(kVictim);
  const Answer answer = trial.Configure(layer, {
                                                   {"tcp_sack", "0"}
  });
  view.PutBack(kVictim);
  ExpectText("the first text of the error reply is", "file error", answer.error);
  ExpectText("its second text is",
             std::string("[/proc/sys/net/ipv4/") + kVictim + "]: " + std::strerror(ENOTDIR),
             answer.detail);
  trial.Release(layer);
}

void RollsBackBeforeTheReply(Trial& trial) {
  TunableView view;
  const Layer layer = trial.NewLayer();
  view.PutBelowAFile(kVictim);
  const Tunables before = ReadTunables();
  Tunables at_reply;
  trial.Configure(layer,
                  SettingsDocument(Settings{
                      {"tcp_sack",           "0" },
                      {"tcp_keepalive_time", "60"}
  }),
                  "a document", [&at_reply] { at_reply = ReadTunables(); });
  ExpectTunables("when SendError is called, all are restored", before, at_reply);
  view.PutBack(kVictim);
  trial.Release(layer);
}

// Also what earlier requests set.
void RollsBackEarlierRequests(Trial& trial) {
  TunableView view;
  const Layer layer = trial.NewLayer();
  const Tunables before = ReadTunables();
  trial.Configure(layer, {
                             {"tcp_keepalive_time", "60"}
  });
  view.PutBelowAFile(kVictim);
  trial.Configure(layer, {
                             {"tcp_sack", "0"}
  });
  ExpectTunables("after a request that failed, as before the first one", before);
  view.PutBack(kVictim);
  trial.Release(layer);
}

void WorksAfterAFailure(Trial& trial) {
  TunableView view;
  const Layer layer = trial.NewLayer();
  view.PutBelowAFile(kVictim);
  trial.Configure(layer, {
                             {"tcp_sack", "0"}
  });
  view.PutBack(kVictim);
  ExpectSuccess(trial.Configure(layer, {
                                           {"tcp_fin_timeout", "30"}
  }));
  ExpectText("the next request sets tcp_fin_timeout to", "30",
             ReadTunables()["ipv4/tcp_fin_timeout"].text);
  trial.Release(layer);
}

void ReleasesBehindAnObstacle(Trial& trial) {
  TunableView view;
  const Tunables before = ReadTunables();
  const Layer layer = trial.NewLayer();
  trial.Configure(layer, {
                             {"tcp_sack",           "0"},
                             {"tcp_window_scaling", "0"}
  });
  view.MakeReadOnly("tcp_fin_timeout");
  trial.Release(layer);
  Tunables expected = before;
  Tunables found = ReadTunables();
  expected.erase("ipv4/tcp_fin_timeout");
  found.erase("ipv4/tcp_fin_timeout");
  ExpectTunables("do_Release restores all except the read-only one", expected, found);
}

constexpr Test kTests[] = {
    {"fails-at-a-read-only-file",   "a read-only tunable: an error reply (EROFS)",                        Needs::kCatalogue,
     FailsAtAReadOnlyFile                                                                                                                            },
    {"fails-at-a-directory",        "a directory in its place: an error reply (EISDIR)",                  Needs::kCatalogue,
     FailsAtADirectory                                                                                                                               },
    {"fails-at-a-socket",           "a socket in its place: an error reply (ENXIO)",                      Needs::kCatalogue,
     FailsAtASocket                                                                                                                                  },
    {"fails-at-a-loop",             "a link to itself in its place: an error reply (ELOOP)",              Needs::kCatalogue,
     FailsAtALoop                                                                                                                                    },
    {"fails-without-a-descriptor",  "no free descriptor: an error reply (EMFILE)",                        Needs::kCatalogue,
     FailsWithoutADescriptor                                                                                                                         },
    {"skips-a-missing-file",        "a tunable that the kernel does not have is skipped",
     Needs::kCatalogue,                                                                                                      SkipsAMissingFile       },
    {"names-the-file",              "an error reply has \"file error\", the file and the system's error",
     Needs::kCatalogue,                                                                                                      NamesTheFile            },
    {"rolls-back-before-the-reply", "all tunables are restored before the error reply",
     Needs::kCatalogue,                                                                                                      RollsBackBeforeTheReply },
    {"rolls-back-earlier-requests", "a request that fails also undoes those before it",
     Needs::kCatalogue,                                                                                                      RollsBackEarlierRequests},
    {"works-after-a-failure",       "a layer can be used after a request that failed",                    Needs::kCatalogue,
     WorksAfterAFailure                                                                                                                              },
    {"releases-behind-an-obstacle", "do_Release restores all tunables that can be opened",
     Needs::kCatalogue,                                                                                                      ReleasesBehindAnObstacle},
};

}  // namespace

std::span<const Test> ObstacleTests() { return kTests; }

}  // namespace devhost
