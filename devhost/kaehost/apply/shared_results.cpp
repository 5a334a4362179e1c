#include "devhost/kaehost/apply/shared_results.h"

#include <algorithm>
#include <map>
#include <optional>
#include <tuple>

namespace devhost {
namespace {

void KeepIfSame(std::optional<std::string>& common, const std::optional<std::string>& other) {
  if (common != other) {
    common = "(several)";
  }
}

}  // namespace

std::vector<SharedOutcome> SharedOutcomesOf(const SessionResult& session, std::size_t request) {
  std::map<std::tuple<const CatalogueEntry*, Fate, std::optional<std::string>, bool>, SharedOutcome>
      shared;
  for (const NamespaceResult& one : session.namespaces) {
    if (one.requests.size() <= request) {
      continue;
    }
    for (const Outcome& outcome : one.requests[request].outcomes) {
      const bool is_emulated = one.IsEmulated(*outcome.entry);
      const auto key = std::tuple(outcome.entry, outcome.fate, outcome.asked, is_emulated);
      SharedOutcome& found =
          shared.try_emplace(key, SharedOutcome{outcome, is_emulated, {}}).first->second;
      KeepIfSame(found.outcome.before, outcome.before);
      KeepIfSame(found.outcome.now, outcome.now);
      found.namespaces.push_back(one.where);
    }
  }
  std::vector<SharedOutcome> outcomes;
  outcomes.reserve(shared.size());
  for (auto& [key, outcome] : shared) {
    outcomes.push_back(std::move(outcome));
  }
  return outcomes;
}

std::vector<SharedReply> SharedRepliesOf(const SessionResult& session, std::size_t request) {
  std::vector<SharedReply> replies;
  for (const NamespaceResult& one : session.namespaces) {
    if (one.requests.size() <= request) {
      continue;
    }
    const LayerReply& reply = one.requests[request].reply;
    auto found = std::find_if(replies.begin(), replies.end(),
                              [&reply](const SharedReply& r) { return r.reply == reply; });
    if (found == replies.end()) {
      found = replies.insert(found, {reply, {}});
    }
    found->namespaces.push_back(one.where);
  }
  return replies;
}

std::string CountOf(const std::vector<std::string>& namespaces, std::size_t total,
                    bool with_all_names) {
  constexpr std::size_t kMostNames = 3;
  if (namespaces.size() == total) {
    return std::to_string(total);
  }
  std::string text = std::to_string(namespaces.size()) + " of " + std::to_string(total);
  const std::size_t count =
      with_all_names ? namespaces.size() : std::min(namespaces.size(), kMostNames);
  for (std::size_t i = 0; i < count; ++i) {
    text += (i == 0 ? ": " : ", ") + namespaces[i];
  }
  return text + (count < namespaces.size() ? ", ..." : "");
}

std::string CountsOf(const std::vector<SharedOutcome>& outcomes) {
  std::map<Fate, std::size_t> counts;
  for (const SharedOutcome& shared : outcomes) {
    counts[shared.outcome.fate] += shared.namespaces.size();
  }
  std::string text;
  for (const auto& [fate, count] : counts) {
    text += (text.empty() ? "" : ", ") + std::to_string(count) + ' ' + WordFor(fate);
  }
  return text.empty() ? "nothing requested, nothing changed" : text;
}

}  // namespace devhost
