#pragma once

#include <expat.h>

#include <string>
#include <string_view>

#include "devhost/libe/document.h"

namespace devhost {

// Returns why the parser stopped, and what to do. `part_begin` is the index of the first byte that
// it had not understood, `open_element` null outside the root.
std::string Explain(XML_Parser parser, XML_Index part_begin, const kaml_content* open_element);

// Returns the sentence about a reference to an unknown entity. It begins with "&" if it is known.
std::string AboutEntity(std::string_view reference);

}  // namespace devhost
