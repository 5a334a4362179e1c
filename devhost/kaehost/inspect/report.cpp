#include "devhost/kaehost/inspect/report.h"

#include <cstring>
#include <iomanip>
#include <vector>

#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/text/characters.h"
#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

constexpr int kTitleWidth = 12;

// The names, on several lines if they do not fit on one.
std::string Listed(const std::vector<std::string>& names) {
  constexpr std::size_t kWidth = 88;
  std::string text = names.empty() ? "none" : "";
  std::size_t line_begin = 0;
  for (const std::string& name : names) {
    const std::string shown = Visible(name);
    if (!text.empty() && text.size() - line_begin + shown.size() + std::strlen(", ,") > kWidth) {
      text += ",\n" + std::string(kTitleWidth, ' ');
      line_begin = text.size();
    } else if (!text.empty()) {
      text += ", ";
    }
    text += shown;
  }
  return text;
}

}  // namespace

void Tell(const std::string& path, const PluginFacts& facts) {
  const auto tell = [](const char* title, const std::string& text) {
    Out() << std::left << std::setw(kTitleWidth) << title << text << '\n';
  };
  tell("plug-in", Visible(path));
  tell("name", Visible(facts.name));
  tell("version", Visible(facts.version));
  tell("exports", Listed(facts.library.exports));
  tell("needs", Listed(facts.library.needs));
  tell("run path", facts.library.run_path.empty() ? "none" : Visible(facts.library.run_path));
  tell("callbacks", Listed(facts.callbacks));
  tell("ready in", std::to_string(facts.load_us) + " us");
  tell("layer in", std::to_string(facts.layer_us) + " us");
  tell("vocabulary", Listed(facts.vocabulary));
}

Json ToJson(const std::string& path, const PluginFacts& facts) {
  Json json;
  json["error"] = nullptr;
  json["plugin"] = path;
  json["name"] = facts.name;
  json["version"] = facts.version;
  json["exports"] = facts.library.exports;
  json["needs"] = facts.library.needs;
  json["run_path"] = facts.library.run_path;
  json["callbacks"] = facts.callbacks;
  json["load_us"] = facts.load_us;
  json["layer_us"] = facts.layer_us;
  json["vocabulary"] = facts.vocabulary;
  json["status"] = int{kDone};
  return json;
}

}  // namespace devhost
