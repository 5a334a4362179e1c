#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/kernel/tunables.h"
#include "host/kaml.h"

// What a request did to each tunable, as the kernel shows it. The plug-in does not read back.

namespace devhost {

// The outcome of an element's value.
enum class Fate {
  kApplied,      // the kernel accepted the requested value
  kUnchanged,    // the kernel had the value already
  kAdjusted,     // the kernel accepted another value
  kRejected,     // the kernel kept its own value
  kMissing,      // the kernel has no such file
  kMachineOnly,  // the machine has the file, but this namespace has not
  kRestored,     // the request failed; the value is the one from before the layer
  kOverridden,   // the plug-in wrote the value; the document does not name it
  kUnread,       // the file could not be read before or after; nobody knows
};

// Returns the word for it: "applied", "unchanged", ...
const char* WordFor(Fate fate);

// The value of a catalogue entry in the kernel.
struct Value {
  std::optional<std::string> text;  // none if there is no file, or it could not be read
  bool is_unread = false;           // the file is there
  bool is_refused = false;          // because the kernel never lets this user read it
  bool is_machine_only = false;     // the machine has the file, but this namespace has not

  bool operator==(const Value&) const = default;
};

struct Outcome {
  const CatalogueEntry* entry;
  Fate fate;
  std::optional<std::string> asked;   // none if the document does not name the element
  std::optional<std::string> before;  // the request; none if there is no text, as for `now`
  std::optional<std::string> now;
};

// The texts that the plug-in reads from a document, by element: the last one for each element that
// it knows.
using Asked = std::map<std::string_view, std::string>;
Asked WhatIsAsked(const kaml_content* contents);

// The value of each catalogue entry. `machine` are the tunables of the namespace in which kaehost
// was started.
using CatalogueValues = std::vector<Value>;
CatalogueValues CatalogueValuesOf(const Tunables& tunables, const Tunables& machine);

// Returns the outcomes of the elements that a request names and of those that also changed, in the
// catalogue's order. `start` are the values from before the layer. `success` is whether the reply
// was success.
std::vector<Outcome> OutcomesOf(const Asked& asked, const CatalogueValues& start,
                                const CatalogueValues& before, const CatalogueValues& now,
                                bool success);

// Returns the number of outcomes of each fate, without zeros.
std::map<Fate, int> CountFates(const std::vector<Outcome>& outcomes);

}  // namespace devhost
