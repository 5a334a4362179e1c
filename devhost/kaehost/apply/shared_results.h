#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "devhost/kaehost/apply/session_result.h"

// What a request has in common in the namespaces of a session, for people.

namespace devhost {

// An outcome of an element with the namespaces that have it.
struct SharedOutcome {
  Outcome outcome;  // `before` and `now` are "(several)" if they differ
  bool is_emulated;
  std::vector<std::string> namespaces;
};

// Returns the outcomes of a request in the catalogue's order, each with what was requested once.
std::vector<SharedOutcome> SharedOutcomesOf(const SessionResult& session, std::size_t request);

// A reply with the namespaces in which the layer gave it.
struct SharedReply {
  LayerReply reply;
  std::vector<std::string> namespaces;
};

std::vector<SharedReply> SharedRepliesOf(const SessionResult& session, std::size_t request);

// Returns "2 of 1000: blue, red", with at most three names, or with all names.
std::string CountOf(const std::vector<std::string>& namespaces, std::size_t total,
                    bool with_all_names);

// Returns the number of outcomes of each fate: "3 applied, 1 missing".
std::string CountsOf(const std::vector<SharedOutcome>& outcomes);

}  // namespace devhost
