#pragma once

#include <libxml/parser.h>

#include <string>

namespace devhost {

// Returns the parser's message on one short line. `open_line` is the line of the open element, 0 if
// there is none.
std::string Explain(const xmlParserCtxt& parser, const xmlError& error, int open_line);

// Returns why the parser stopped here as if the file ended, although it did not; else empty.
std::string WhyNoFurther(const xmlParserCtxt& parser);

}  // namespace devhost
