#pragma once

#include <string>
#include <vector>

// What the built plug-in printed and replied in the lives of two layers that met everything that an
// operator may meet.
struct PlayedLife {
  std::vector<std::string> lines;    // each once, empty ones left out
  std::vector<std::string> replies;  // as `success` or `error "ERROR" "DETAIL"`
};

// One among files that are missing, unreadable, empty or cannot be written, with documents of every
// kind; and one in a container whose core files are read-only.
PlayedLife PlayLife();
