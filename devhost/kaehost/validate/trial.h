#pragma once

#include <functional>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "devhost/kaehost/kernel/tunables.h"
#include "devhost/kaehost/plugin/plugin.h"
#include "devhost/kaehost/validate/test.h"
#include "devhost/libe/document.h"
#include "devhost/libe/request.h"

namespace devhost {

// Elements and their values, in the order of a document.
using Settings = std::vector<std::pair<std::string, std::string>>;

// A document with one "tcp-settings" element for each of these.
Document SettingsDocument(const std::vector<Settings>& roots);
inline Document SettingsDocument(const Settings& settings) {
  return SettingsDocument(std::vector<Settings>{settings});
}

// What a layer did with a request.
struct Answer {
  Reply reply;
  std::string error;
  std::string detail;
  bool has_body;
  bool answered_again;
  bool returned;  // by do_Configure
};

void ExpectSuccess(const Answer& answer);
void ExpectFileError(const Answer& answer);

// What a test of a plug-in has in its process: the plug-in, and what it does with it, step by step.
// If the process ends in a step, the report names it. Whatever the plug-in throws becomes a
// Failure.
class Trial {
 public:
  using Report = std::function<void(const std::string& step)>;

  Trial(std::string path, unsigned seed, Report report)
      : path_(std::move(path)), random_(seed), report_(std::move(report)) {}

  const std::string& path() const { return path_; }
  std::mt19937& random() { return random_; }

  void Step(const std::string& what) { report_(what); }

  // Loads and initialises the plug-in. It is unloaded with this object, or by Unload.
  const Plugin& Load();
  void Unload();

  // From the loaded plug-in, which is loaded if it is not yet.
  Layer NewLayer();

  Answer Configure(const Layer& layer, const kaml_content* contents, const std::string& what,
                   const std::function<void()>& at_reply = {});
  Answer Configure(const Layer& layer, const Document& document, const std::string& what,
                   const std::function<void()>& at_reply = {}) {
    return Configure(layer, document.contents(), what, at_reply);
  }
  Answer Configure(const Layer& layer, const Settings& settings) {
    return Configure(layer, SettingsDocument(settings), "a document");
  }

  void Release(const Layer& layer);

  // Makes a layer, sends it a request and releases it.
  void LeadALife();

  // What the plug-in calls itself, if the test has asked.
  std::string name;
  std::string version;

 private:
  const std::string path_;
  std::mt19937 random_;
  const Report report_;
  std::optional<Plugin> plugin_;
};

// Whether the plug-in has asked for the name of "tcp-settings" documents.
bool KnowsTcpSettings();

// Fails if the tunables differ from those expected. `seen` are those of now.
void ExpectTunables(const std::string& when, const Tunables& expected,
                    const Tunables& seen = ReadTunables());

// What this process prints.
class PrintedText {
 public:
  PrintedText();
  ~PrintedText();
  PrintedText(const PrintedText&) = delete;
  PrintedText& operator=(const PrintedText&) = delete;

  // What was printed on standard output and on standard error since the construction. Throws
  // Skipped if a limit may have cut it off.
  std::string Output() const;
  std::string Errors() const;

 private:
  int output_, errors_;
  int former_output_, former_errors_;
};

}  // namespace devhost
