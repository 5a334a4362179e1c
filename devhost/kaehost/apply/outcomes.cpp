#include "devhost/kaehost/apply/outcomes.h"

#include <unordered_map>

#include "devhost/kaehost/text/numbers.h"
#include "devhost/libe/document.h"

namespace devhost {
namespace {

bool IsSameValue(const std::string& one, const std::string& other) {
  return ReadInteger(one) ? ReadInteger(one) == ReadInteger(other) : one == other;
}

Value ValueOf(const CatalogueEntry& entry, const Tunables& tunables, const Tunables& machine) {
  const auto found = tunables.find(entry.file);
  if (found == tunables.end()) {
    return {.text = {}, .is_machine_only = machine.contains(entry.file)};
  }
  const Reading& reading = found->second;
  if (reading.error != 0) {
    return {.text = {}, .is_unread = true, .is_refused = reading.is_refused()};
  }
  return {.text = ValueAt(entry.position, reading.text)};
}

Fate FateOfWhatWasAsked(const std::string& asked, const Value& before, const Value& now) {
  if (!before.text && !now.text) {
    return now.is_machine_only ? Fate::kMachineOnly : Fate::kMissing;
  }
  if (now.text && IsSameValue(asked, *now.text)) {
    return before == now ? Fate::kUnchanged : Fate::kApplied;
  }
  return before == now ? Fate::kRejected : Fate::kAdjusted;
}

}  // namespace

const char* WordFor(Fate fate) {
  switch (fate) {
    case Fate::kApplied:
      return "applied";
    case Fate::kUnchanged:
      return "unchanged";
    case Fate::kAdjusted:
      return "adjusted";
    case Fate::kRejected:
      return "rejected";
    case Fate::kMissing:
      return "missing";
    case Fate::kMachineOnly:
      return "machine-only";
    case Fate::kRestored:
      return "restored";
    case Fate::kOverridden:
      return "overridden";
    case Fate::kUnread:
      return "unread";
  }
  return "";
}

Asked WhatIsAsked(const kaml_content* contents) {
  std::unordered_map<const char*, const char*> texts;  // the last one of each interned name
  for (const kaml_content* root = contents; root != nullptr; root = root->next()) {
    if (root->type() != kElement) {
      continue;
    }
    if (std::string_view(root->name()) != "tcp-settings") {
      break;
    }
    for (const kaml_content* c = root->first_child(); c != nullptr; c = c->next()) {
      const kaml_content* first = c->first_child();
      if (first != nullptr && first->type() == kText) {
        texts[c->name()] = first->text();
      }
    }
  }
  Asked asked;
  for (const auto& [name, text] : texts) {
    if (const CatalogueEntry* entry = FindInCatalogue(name)) {
      asked[entry->element] = text;
    }
  }
  return asked;
}

CatalogueValues CatalogueValuesOf(const Tunables& tunables, const Tunables& machine) {
  CatalogueValues values;
  for (const CatalogueEntry& entry : Catalogue()) {
    values.push_back(ValueOf(entry, tunables, machine));
  }
  return values;
}

std::vector<Outcome> OutcomesOf(const Asked& asked, const CatalogueValues& start,
                                const CatalogueValues& before, const CatalogueValues& now,
                                bool success) {
  std::vector<Outcome> outcomes;
  for (std::size_t i = 0; i < Catalogue().size(); ++i) {
    const auto found = asked.find(Catalogue()[i].element);
    const bool is_asked = found != asked.end();
    const bool is_unread = before[i].is_unread || now[i].is_unread;
    const bool may_have_changed = before[i] != now[i] || (is_unread && !now[i].is_refused);
    if (!is_asked && !may_have_changed) {
      continue;
    }
    Outcome outcome{&Catalogue()[i], Fate::kOverridden, {}, before[i].text, now[i].text};
    if (is_asked) {
      outcome.asked = found->second;
    }
    if (is_unread) {
      outcome.fate = Fate::kUnread;
    } else if (!success && now[i].text && now[i] == start[i]) {
      outcome.fate = Fate::kRestored;
    } else if (is_asked) {
      outcome.fate = FateOfWhatWasAsked(found->second, before[i], now[i]);
    }
    outcomes.push_back(std::move(outcome));
  }
  return outcomes;
}

std::map<Fate, int> CountFates(const std::vector<Outcome>& outcomes) {
  std::map<Fate, int> counts;
  for (const Outcome& outcome : outcomes) {
    ++counts[outcome.fate];
  }
  return counts;
}

}  // namespace devhost
