#pragma once

#include <cstddef>
#include <string>
#include <vector>

// What another XML parser, expat, reads in some bytes, for comparison. It knows fewer encodings
// than the one that documents are read with, and fewer letters in names.
class ParserTree {
 public:
  ParserTree(const char* bytes, std::size_t size);

  // Whether the bytes are well-formed XML, and all entities that they use are known.
  bool is_sound() const { return is_sound_; }

  // Whether it is in doubt that the bytes are not sound.
  bool is_in_doubt() const { return is_in_doubt_; }

  // Returns a line for each element (its name), text (in quotes), comment and processing
  // instruction (in parentheses) in document order, and an empty line at the end of each element
  // and of the document.
  const std::vector<std::string>& lines() const { return lines_; }

 private:
  bool is_sound_ = true;
  bool is_in_doubt_ = false;
  std::vector<std::string> lines_;
};
