#include "devhost/kaehost/restore/report.h"

#include <nlohmann/json.hpp>

#include "devhost/kaehost/changes.h"
#include "devhost/kaehost/kernel/journal_folder.h"
#include "devhost/kaehost/text/characters.h"
#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

// A name of a namespace can contain any characters.
void TellLine(const std::string& line) { Out() << "kaehost: " << Visible(line) << '\n'; }

// "1 minute", "5 hours"
std::string Duration(long long seconds) {
  struct Unit {
    const char* name;
    long long seconds;
  };
  constexpr Unit kUnits[] = {
      {"day",    86400},
      {"hour",   3600 },
      {"minute", 60   }
  };
  Unit unit = {"second", 1};
  for (const Unit& longer : kUnits) {
    if (seconds >= longer.seconds) {
      unit = longer;
      break;
    }
  }
  const long long count = seconds / unit.seconds;
  return std::to_string(count) + ' ' + unit.name + (count == 1 ? "" : "s");
}

std::string Session(const FoundJournal& found) {
  return found.file + ": the session of process " + std::to_string(found.journal->process) +
         ", started " + found.journal->started + " (" + Duration(found.age) + " ago)";
}

void TellLeft(const FoundJournal& found) {
  TellLine(Session(found) + ", ended without restoring");
  TableOf(found.differs).Print(Out());
  if (found.option.empty()) {
    TellLine(
        "cannot find the network namespace of this session, which had " + found.journal->option +
        ": run 'kaehost restore --netns PATH'; if it does not exist any more, delete the file");
  } else {
    TellLine((found.differs.empty() ? "no tunable differs; to delete the journal, run '"
                                    : "to restore, run '") +
             CommandToRestore(found.option) + "'");
  }
}

Json JournalJson(const FoundJournal& found) {
  constexpr const char* kWords[] = {"left", "in use", "refused"};
  Json json = Json::object();
  json["file"] = found.file;
  json["state"] = kWords[found.state];
  json["sentence"] = found.sentence.empty() ? Json() : Json(found.sentence);
  json["process"] = found.journal ? Json(found.journal->process) : Json();
  json["started"] = found.journal ? Json(found.journal->started) : Json();
  json["age_s"] = found.journal ? Json(found.age) : Json();
  json["option"] = found.option.empty() ? Json() : Json(found.option);
  json["differs"] = ToJson(found.differs);
  return json;
}

Json ResultJson(const Json& journals, const Json& restored, const Json& not_restored, int status) {
  Json json = Json::object();
  json["error"] = nullptr;
  json["journals"] = journals;
  json["restored"] = restored;
  json["not_restored"] = not_restored;
  json["status"] = status;
  return json;
}

}  // namespace

void Tell(const std::vector<FoundJournal>& journals, bool quiet) {
  if (journals.empty() && !quiet) {
    TellLine("no journals; nothing to restore");
  }
  for (const FoundJournal& found : journals) {
    if (found.state == FoundJournal::kLeft) {
      TellLeft(found);
    } else if (found.state == FoundJournal::kRefused || !quiet) {
      TellLine(found.sentence);
    }
  }
}

void Tell(const Restoration& result, bool quiet) {
  if (!result.journal) {
    if (!quiet) {
      TellLine("no journal of this network namespace; nothing to restore");
    }
    return;
  }
  if (!quiet) {
    TellLine(Session(*result.journal) + ", ended without restoring");
    TableOf(result.journal->differs).Print(Out());
  }
  if (!result.not_restored.empty()) {
    TellLine("not restored:");
    TableOf(result.not_restored).Print(Out());
    TellLine("the journal " + result.journal->file + " is kept");
  } else if (!quiet) {
    TellLine(std::string(result.journal->differs.empty() ? "no tunable differed"
                                                         : "all tunables "
                                                           "restored") +
             "; journal deleted");
  }
}

Json ToJson(const std::vector<FoundJournal>& journals, int status) {
  Json list = Json::array();
  for (const FoundJournal& found : journals) {
    list.push_back(JournalJson(found));
  }
  return ResultJson(list, nullptr, Json::array(), status);
}

Json ToJson(const Restoration& result, int status) {
  Json list = Json::array();
  if (result.journal) {
    list.push_back(JournalJson(*result.journal));
  }
  return ResultJson(list, result.not_restored.empty(), ToJson(result.not_restored), status);
}

}  // namespace devhost
