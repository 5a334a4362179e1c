#pragma once

#include <string>
#include <vector>

// A document, and what kaehost check must find in it.
struct CheckCase {
  const char* inside;   // of tcp-settings
  const char* finding;  // without the name of the file; empty for none

  std::string Document() const {
    return std::string("<tcp-settings>") + inside + "</tcp-settings>";
  }
};

// Documents with one finding or none, each kind of finding among them.
extern const std::vector<CheckCase> kCheckCases;
