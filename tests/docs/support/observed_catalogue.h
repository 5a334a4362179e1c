#pragma once

#include <string>
#include <vector>

// An element that the built plug-in knows, as far as it can be told from outside.
struct ObservedElement {
  std::string name;
  std::string file;      // below /proc/sys/net: the one in which the element's value ends up
  std::string position;  // among the file's values, "1 of 3"
  std::string default_value;
  std::string start;  // "default" or "kernel"
};

// The elements' names, in the order in which the plug-in interns them after "tcp-settings".
std::vector<std::string> ObservedNames();

// All that the plug-in tells by what it writes: into files that were not there, where a document
// names every element, and none; and over files that hold values of no use.
std::vector<ObservedElement> ObservedCatalogue();
