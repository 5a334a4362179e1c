#include "devhost/kaehost/apply/json_report.h"

#include <cstring>
#include <nlohmann/json.hpp>
#include <sstream>

#include "devhost/kaehost/changes.h"
#include "devhost/kaehost/text/json.h"

namespace devhost {
namespace {

const char* WordFor(Reply reply) {
  switch (reply) {
    case Reply::kNone:
      return "none";
    case Reply::kSuccess:
      return "success";
    case Reply::kError:
      return "error";
  }
  return "";
}

Json OrNull(const auto& optional) { return optional ? Json(*optional) : Json(); }

Json OutcomeJson(const NamespaceResult& result, const Outcome& outcome) {
  Json json = Json::object();
  json["element"] = outcome.entry->element;
  json["file"] = outcome.entry->file;
  json["position"] = outcome.entry->position;
  json["outcome"] = WordFor(outcome.fate);
  json["before"] = OrNull(outcome.before);
  json["asked"] = OrNull(outcome.asked);
  json["now"] = OrNull(outcome.now);
  json["emulated"] = result.IsEmulated(*outcome.entry);
  return json;
}

Json RequestJson(const NamespaceResult& where, const RequestResult& result) {
  Json json = Json::object();
  json["document"] = result.document;
  json["reply"] = WordFor(result.reply.reply);
  json["error"] = result.reply.error;
  json["detail"] = result.reply.detail;
  json["answered_again"] = result.reply.answered_again;
  json["thrown"] = OrNull(result.reply.thrown);
  json["outcomes"] = Json::array();
  json["counts"] = Json::object();
  for (const Outcome& outcome : result.outcomes) {
    json["outcomes"].push_back(OutcomeJson(where, outcome));
  }
  for (const auto& [fate, count] : CountFates(result.outcomes)) {
    json["counts"][WordFor(fate)] = count;
  }
  return json;
}

Json Lines(const std::string& text) {
  Json lines = Json::array();
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

void AddComparison(const NamespaceResult& result, Json& json) {
  json["restored"] = result.not_restored.empty();
  if (result.not_restored.empty() && !result.unread.empty()) {
    json["restored"] = nullptr;  // nobody knows
  }
  json["not_restored"] = ToJson(result.not_restored);
  json["unread"] = Json::array();
  for (const Unread& unread : result.unread) {
    json["unread"].push_back({
        {"tunable", unread.tunable             },
        {"reason",  std::strerror(unread.error)},
        {"refused", unread.is_refused          }
    });
  }
}

Json NamespaceJson(const NamespaceResult& result) {
  Json json = Json::object();
  json["where"] = result.where;
  json["emulated"] = result.emulated;
  json["not_copied"] = result.not_copied;
  json["requests"] = Json::array();
  for (const RequestResult& request : result.requests) {
    json["requests"].push_back(RequestJson(result, request));
  }
  json["release_thrown"] = OrNull(result.release_thrown);
  AddComparison(result, json);
  json["changed_by_others"] = ToJson(result.changed_by_others);
  json["restored_by_kaehost"] = ToJson(result.restored_by_kaehost);
  json["journal_kept"] = OrNull(result.journal_kept);
  return json;
}

}  // namespace

std::string ToJson(const SessionResult& session, const std::string& progress, int status) {
  Json json = Json::object();
  if (session.namespaces.size() == 1) {
    json = NamespaceJson(session.namespaces.front());
  } else {
    json["namespaces"] = Json::array();
    for (const NamespaceResult& result : session.namespaces) {
      json["namespaces"].push_back(NamespaceJson(result));
    }
  }
  json["error"] = nullptr;
  json["plugin"] = session.plugin;
  json["interrupted_by"] = OrNull(session.interrupted_by);
  json["command_status"] = OrNull(session.command_status);
  json["plugin_ended"] = OrNull(session.plugin_ended);
  json["progress"] = Lines(progress);
  json["status"] = status;
  return JsonText(json);
}

}  // namespace devhost
