#pragma once

#include <string>
#include <vector>

#include "host/kaml.h"

// The contents from `first` on as a plug-in sees them, in the document's order: an element is its
// name, a text stands in quotes, and what is neither is its kind in parentheses. A content's
// children follow it, each with two blanks before it.
std::vector<std::string> Nodes(const kaml_content* first);

// The same of the file at `path`.
std::vector<std::string> NodesOfFile(const std::string& path);

// The same of a file with these bytes.
std::vector<std::string> NodesOf(const std::string& bytes);

// What reading the file at `path` is refused with; empty when it is not.
std::string ErrorOfFile(const std::string& path);

// The bytes of a document of `depth` elements, each in the one before it.
std::string NestedElements(int depth);
