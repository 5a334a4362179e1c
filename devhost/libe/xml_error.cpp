#include "devhost/libe/xml_error.h"

#include <algorithm>
#include <cstddef>

namespace devhost {
namespace {

constexpr std::size_t kMaxReason = 200;

// Names in the parser's message can have any length.
std::string Shortened(std::string reason) {
  reason.erase(reason.find_last_not_of('\n') + 1);
  std::replace(reason.begin(), reason.end(), '\n', ' ');
  if (reason.size() > kMaxReason) {
    std::size_t end = kMaxReason;
    while ((reason[end] & '\xc0') == '\x80') {  // inside a character
      --end;
    }
    reason.resize(end);
    reason += "...";
  }
  return reason;
}

}  // namespace

std::string Explain(const xmlParserCtxt& parser, const xmlError& error, int open_line) {
  if (error.domain != XML_FROM_PARSER) {
    return Shortened(error.message);  // from the decoder; the buffer position is undefined now
  }
  if (std::string why = WhyNoFurther(parser); !why.empty()) {
    return why;
  }
  if (error.code != XML_ERR_TAG_NAME_MISMATCH) {
    return Shortened(error.message);
  }
  // The parser's own message does not contain the line.
  return Shortened(std::string("Opening and ending tag mismatch: ") + error.str1 + " line " +
                   std::to_string(open_line) + " and " + error.str2);
}

std::string WhyNoFurther(const xmlParserCtxt& parser) {
  const xmlParserInput& input = *parser.input;
  if (input.cur != input.end) {
    return *input.cur == 0 ? "the document contains a NUL byte; remove it" : "";
  }
  const bool decoded = input.buf->raw == nullptr || xmlBufUse(input.buf->raw) == 0;
  return decoded ? "" : "bytes that are invalid in the document's encoding; save it as UTF-8";
}

}  // namespace devhost
