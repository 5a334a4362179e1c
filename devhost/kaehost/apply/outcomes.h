#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/kernel/tunables.h"
#include "host/kaml.h"

// What a request did to each tunable, as the kernel shows it: the plug-in does not look.

namespace devhost {

// What became of an element's value.
enum class Fate {
  kApplied,     // the kernel took the value asked for
  kUnchanged,   // it had it already
  kAdjusted,    // it took another one
  kRejected,    // it kept the one that it had
  kMissing,     // it has no such file
  kRestored,    // an error: the value is the one from before the layer
  kOverridden,  // the plug-in wrote it though the document does not name it
};

// Answers the word for it: "applied", "unchanged", ...
const char* WordFor(Fate fate);

struct Outcome {
  const CatalogueEntry* entry;
  Fate fate;
  std::optional<std::string> asked;   // none where the document does not name the element
  std::optional<std::string> before;  // the request; none, as for `now`, where there is no file
  std::optional<std::string> now;
};

// The texts that the plug-in takes from a document, by element: the last one for each element that
// it knows.
using Asked = std::map<std::string_view, std::string>;
Asked WhatIsAsked(const kaml_content* contents);

// The value of each catalogue entry in the kernel, none where the file is not there.
using CatalogueValues = std::vector<std::optional<std::string>>;
CatalogueValues CatalogueValuesOf(const Tunables& tunables);

// Answers, in the catalogue's order, what became of the elements that a request asked for, and of
// those that changed besides. `start` is what was there before the layer, `success` whether the
// request was answered with it.
std::vector<Outcome> OutcomesOf(const Asked& asked, const CatalogueValues& start,
                                const CatalogueValues& before, const CatalogueValues& now,
                                bool success);

// Answers how often each fate is among the outcomes, those that are not there left out.
std::map<Fate, int> CountFates(const std::vector<Outcome>& outcomes);

}  // namespace devhost
