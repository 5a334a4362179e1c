#pragma once

#include <cstddef>

namespace devhost {

// What a document can have at most. The limits bound time and memory for any input, and are far
// above real documents.
struct Limits {
  std::size_t bytes = std::size_t{256} << 20;
  // Attributes count too: a document type declaration can add thousands to each element.
  std::size_t contents = std::size_t{32} << 20;
  // The parser keeps more for each open element than the document does.
  std::size_t levels = std::size_t{16} << 20;
  // The host keeps each name of an element, and the parser each name of an attribute too.
  std::size_t names = std::size_t{64} << 10;
  // Of one tag, comment, processing instruction or document type declaration. The parser collects
  // it, and looks at it from its beginning whenever a piece of the document arrives.
  std::size_t markup = std::size_t{64} << 10;
};

}  // namespace devhost
