#pragma once

#include <cstddef>

namespace devhost {

// What a document can have at most. The limits bound time and memory for any input, and are far
// above real documents.
struct Limits {
  std::size_t bytes = std::size_t{256} << 20;
  std::size_t contents = std::size_t{32} << 20;
  // The parser's dictionary stops growing, and from then on each new name takes longer than the
  // last.
  std::size_t names = std::size_t{64} << 10;
  // Of one tag, comment, CDATA section or document type declaration. The parser's time grows with
  // the square of the number of attributes of a tag.
  std::size_t markup = std::size_t{64} << 10;
};

}  // namespace devhost
