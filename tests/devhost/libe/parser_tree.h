#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The tree that the XML parser builds by itself of some bytes, for comparison. It takes colons to
// stand for namespaces, and stumbles over some names that are well-formed but for them.
class ParserTree {
 public:
  ParserTree(const char* bytes, std::size_t size);

  // Whether the bytes are well-formed XML.
  bool is_sound() const { return is_sound_; }

  // Answers a line for each element (its name), text (in quotes), comment and processing
  // instruction (in parentheses) in the document's order, and an empty one at the end of each
  // element and of the document.
  const std::vector<std::string>& lines() const { return lines_; }

 private:
  bool is_sound_ = true;
  std::vector<std::string> lines_;
};
