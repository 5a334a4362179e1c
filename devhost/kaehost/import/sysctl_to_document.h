#pragma once

#include <map>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/text/numbers.h"

namespace devhost {

// What the user must know about a line.
struct LineReport {
  std::string file;
  int line;
  std::string key;
  bool is_imported;      // if not, none of its values is in the document
  std::string sentence;  // what is wrong, and what to do
};

// The result of an import of files in the form of sysctl.conf.
struct Imported {
  std::map<const CatalogueEntry*, Integer> values;  // in the catalogue's order
  std::vector<LineReport> reports;                  // in the order of the lines
  std::size_t not_listed = 0;                       // lines that have no room in `reports`
  bool is_complete = true;                          // whether all lines are imported

  // Returns the document that names the values.
  std::string Document() const;

  // Returns the elements that the document does not name and that the plug-in's first request sets
  // to its own defaults.
  std::vector<const CatalogueEntry*> Imposed() const;

  // Adds a report, or only counts it if there are 1,000 already.
  void Add(LineReport report);
};

// Imports the files in order; "-" is standard input. Later lines win. Throws std::runtime_error
// with a sentence that names the file if one cannot be read.
Imported Import(const std::vector<std::string>& files);

}  // namespace devhost
