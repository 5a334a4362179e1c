#pragma once

#include <map>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/catalogue.h"

namespace devhost {

// A line that a document cannot carry, and why.
struct NotCarried {
  std::string file;
  int line;
  std::string key;
  std::string sentence;  // what is so, and what to do
};

// What becomes of files in the form of sysctl.conf.
struct Imported {
  std::map<const CatalogueEntry*, long long> values;  // in the catalogue's order
  std::vector<NotCarried> not_carried;

  // The document that names the values.
  std::string Document() const;

  // The elements that are not named and for which the plug-in's first request writes a default of
  // its own.
  std::vector<const CatalogueEntry*> Imposed() const;
};

// Reads the files, of which later lines win; "-" is standard input. Throws std::runtime_error with
// a sentence that names the file where one cannot be read.
Imported Import(const std::vector<std::string>& files);

}  // namespace devhost
