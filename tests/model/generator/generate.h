#pragma once

#include "tests/model/generator/choices.h"
#include "tests/model/scenario.h"

namespace model {

// Returns a random scenario. Most are short; a few contain something very large.
Scenario Generate(Choices& choices);

// Parts of a scenario. Half of the texts are realistic for kernels and operators.
File GenerateFile(Choices& choices);
std::string GenerateValue(Choices& choices);
std::vector<Node> GenerateDocument(Choices& choices);

// A line for a change to wait for. It is likely to appear in a story with these files.
std::string GenerateLine(Choices& choices, const std::map<std::string, File>& files);

// The 50 files of the catalogue, as "ipv4/tcp_sack".
const std::vector<std::string>& TunableFiles();

}  // namespace model
