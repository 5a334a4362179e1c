#pragma once

#include "tests/model/choices.h"
#include "tests/model/scenario.h"

namespace model {

// Answers a random scenario: mostly a short one, now and then one with something enormous in it.
Scenario Generate(Choices& choices);

// Its parts. Half of the texts are such as kernels and operators use.
File GenerateFile(Choices& choices);
std::string GenerateValue(Choices& choices);
std::vector<Node> GenerateDocument(Choices& choices);

// A line that an armed change may wait for, likely to come in a story with these files.
std::string GenerateLine(Choices& choices, const std::map<std::string, File>& files);

// The 50 files of the catalogue, as "ipv4/tcp_sack".
const std::vector<std::string>& TunableFiles();

}  // namespace model
