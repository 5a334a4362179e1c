#pragma once

#include <string>
#include <vector>

// What another XML parser, libxml2, reads in some bytes, for comparison.
class ParserTree {
 public:
  explicit ParserTree(const std::string& bytes);

  // Whether the bytes are well-formed XML, and all entities that they use are known.
  bool is_sound() const { return is_sound_; }

  // Whether the document declares no encoding, or one that all parsers know alike.
  bool is_comparable() const { return is_comparable_; }

  // Returns a line for each element (its name), text (in quotes), comment and processing
  // instruction (in parentheses) in document order, and an empty line at the end of each element
  // and of the document.
  const std::vector<std::string>& lines() const { return lines_; }

 private:
  bool is_sound_ = true;
  bool is_comparable_ = true;
  std::vector<std::string> lines_;
};
