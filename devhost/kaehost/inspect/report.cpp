#include "devhost/kaehost/inspect/report.h"

#include <cstring>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

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

void Tell(const Json& facts) {
  const auto tell = [](const char* title, const std::string& text) {
    Out() << std::left << std::setw(kTitleWidth) << title << text << '\n';
  };
  const std::string run_path = facts["run_path"];
  tell("plug-in", Visible(facts["plugin"].get<std::string>()));
  tell("name", Visible(facts["name"].get<std::string>()));
  tell("version", Visible(facts["version"].get<std::string>()));
  tell("exports", Listed(facts["exports"]));
  tell("needs", Listed(facts["needs"]));
  tell("run path", run_path.empty() ? "none" : Visible(run_path));
  tell("callbacks", Listed(facts["callbacks"]));
  tell("ready in", facts["load_us"].dump() + " us");
  tell("layer in", facts["layer_us"].dump() + " us");
  tell("vocabulary", Listed(facts["vocabulary"]));
}

}  // namespace devhost
