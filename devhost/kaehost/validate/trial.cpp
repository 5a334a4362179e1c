#include "devhost/kaehost/validate/trial.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <tuple>

#include "devhost/kaehost/plugin/trace.h"
#include "devhost/libe/interning.h"

namespace devhost {
namespace {

const char* NameOf(Reply reply) {
  return reply == Reply::kSuccess ? "success" : reply == Reply::kError ? "error" : "none";
}

std::string Described(const Answer& answer) {
  return std::string("reply: ") + NameOf(answer.reply) +
         (answer.reply == Reply::kError ? ": " + answer.error + ": " + answer.detail : "") +
         (answer.answered_again ? ", and another reply" : "") +
         (answer.has_body ? ", with a body" : "") +
         (answer.returned ? "; do_Configure returned true" : "; do_Configure returned false");
}

void FlushAll() {
  std::cout.flush();
  std::fflush(stdout);
  std::cerr.flush();
}

std::string ContentOf(int file) {
  FlushAll();
  struct stat status = {};
  fstat(file, &status);
  rlimit limit = {};
  getrlimit(RLIMIT_FSIZE, &limit);
  if (static_cast<rlim_t>(status.st_size) >= limit.rlim_cur) {
    throw Skipped{"the plug-in prints more than the limit for a file (ulimit -f)"};
  }
  std::string text(static_cast<std::size_t>(status.st_size), '\0');
  const ssize_t size = pread(file, text.data(), text.size(), 0);
  text.resize(static_cast<std::size_t>(std::max(size, ssize_t{0})));
  return text;
}

// Makes `descriptor` a new file without a name. Returns the file and what was there before.
std::pair<int, int> Replace(int descriptor) {
  const int former = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  const int file = memfd_create("printed", MFD_CLOEXEC);
  dup2(file, descriptor);
  return {file, former};
}

}  // namespace

Document SettingsDocument(const std::vector<Settings>& roots) {
  Document document;
  for (const Settings& settings : roots) {
    kaml_content* root = document.AddElement(nullptr, "tcp-settings");
    for (const auto& [element, value] : settings) {
      document.AddText(document.AddElement(root, element.c_str()), value.c_str());
    }
  }
  return document;
}

void ExpectSuccess(const Answer& answer) {
  Expect(answer.reply == Reply::kSuccess && !answer.answered_again && !answer.has_body &&
             answer.returned,
         "one success reply without a body; do_Configure returns true", Described(answer));
}

void ExpectFileError(const Answer& answer) {
  Expect(answer.reply == Reply::kError && !answer.answered_again && !answer.returned,
         "one error reply; do_Configure returns false", Described(answer));
}

const Plugin& Trial::Load() {
  if (!plugin_) {
    Step("loading the plug-in");
    plugin_.emplace(path_);
  }
  return *plugin_;
}

void Trial::Unload() {
  Step("unloading the plug-in");
  plugin_.reset();
}

Layer Trial::NewLayer() {
  const Plugin& plugin = Load();
  Step("GetNewLayer");
  return plugin.NewLayer();
}

Answer Trial::Configure(const Layer& layer, const kaml_content* contents, const std::string& what,
                        const std::function<void()>& at_reply) {
  Step("do_Configure with " + what);
  Request request(at_reply);
  bool returned = false;
  try {
    returned = layer.configure->do_Configure(&request, contents);
  } catch (...) {
    throw Failure{"do_Configure with " + what + " throws nothing", "it threw: " + Thrown()};
  }
  return {request.reply(),    request.error(),          request.detail(),
          request.has_body(), request.answered_again(), returned};
}

void Trial::Release(const Layer& layer) {
  Step("do_Release");
  try {
    layer.release->do_Release();
  } catch (...) {
    throw Failure{"do_Release throws nothing", "it threw: " + Thrown()};
  }
}

bool KnowsTcpSettings() {
  const std::vector<std::string> names = InternedNames();
  return std::find(names.begin(), names.end(), "tcp-settings") != names.end();
}

void Trial::LeadALife() {
  const Layer layer = NewLayer();
  Configure(layer, {
                       {"tcp_sack", "0"}
  });
  Release(layer);
}

void ExpectTunables(const std::string& when, const Tunables& expected, const Tunables& seen) {
  std::string wanted;
  std::string found;
  for (const Change& change : Compare(expected, seen)) {
    wanted += (wanted.empty() ? "" : ", ") + change.tunable + " = " + change.before;
    found += (found.empty() ? "" : ", ") + change.tunable + " = " + change.after;
  }
  Expect(wanted.empty(), when + ": " + wanted, found);
}

PrintedText::PrintedText() {
  FlushAll();
  std::tie(output_, former_output_) = Replace(STDOUT_FILENO);
  std::tie(errors_, former_errors_) = Replace(STDERR_FILENO);
}

PrintedText::~PrintedText() {
  FlushAll();
  dup2(former_output_, STDOUT_FILENO);
  dup2(former_errors_, STDERR_FILENO);
  for (const int file : {output_, errors_, former_output_, former_errors_}) {
    close(file);
  }
}

std::string PrintedText::Output() const { return ContentOf(output_); }

std::string PrintedText::Errors() const { return ContentOf(errors_); }

}  // namespace devhost
