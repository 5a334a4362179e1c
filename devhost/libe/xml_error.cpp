#include "devhost/libe/xml_error.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace devhost {
namespace {

using namespace std::string_view_literals;

constexpr const char* kBadBytes =
    "a character that XML does not allow here, or bytes that are not UTF-8; save the document as "
    "UTF-8";

struct BadPart {
  std::string_view beginning;
  const char* sentence;
};

// What is wrong with a part that begins so; the first one counts.
constexpr BadPart kBadParts[] = {
    {"&",    "\"&\" that begins no reference; write &amp; if it is text"                       },
    {"]]",   "\"]]>\" that ends no CDATA section; write ]]&gt; if it is text"                  },
    {"<!--", "\"--\" inside a comment; remove it"                                              },
    {"<!",   "a declaration that is not well-formed or not allowed here; remove it"            },
    {"<?",   "a processing instruction that is not well-formed; remove it"                     },
    {"<",    "a tag that is not well-formed; write <name attribute=\"value\">, or &lt; in text"},
};

// Returns a foreign name, which can have any length.
std::string Shown(std::string_view name) {
  constexpr std::size_t kMaxShown = 60;
  if (name.size() <= kMaxShown) {
    return std::string(name);
  }
  std::size_t end = kMaxShown;
  while ((name[end] & '\xc0') == '\x80') {  // inside a character
    --end;
  }
  return std::string(name.substr(0, end)) + "...";
}

bool IsControlCharacter(char c) {
  return static_cast<unsigned char>(c) < ' ' && "\t\n\r"sv.find(c) == std::string_view::npos;
}

// `part` begins with what the parser had not understood. `rest` is its end, from the first
// character that is wrong.
std::string AboutBadPart(std::string_view part, std::string_view rest, bool is_in_root) {
  if (rest.starts_with('\0')) {
    return "the document contains a NUL byte; remove it";
  }
  if (!rest.empty() && (rest[0] & '\x80') != 0) {
    return kBadBytes;
  }
  if (!rest.empty() && IsControlCharacter(rest[0])) {
    return "the document contains a control character; remove it";
  }
  for (const auto& [beginning, sentence] : kBadParts) {
    if (part.starts_with(beginning)) {
      return sentence;
    }
  }
  return is_in_root ? XML_ErrorString(XML_ERROR_INVALID_TOKEN)
                    : "text before the root element; remove it";
}

// The parser's own sentences, which are for what is rare, say less.
const char* SentenceFor(XML_Error code) {
  switch (code) {
    case XML_ERROR_NO_ELEMENTS:
      return "the document has no element; write a root element";
    case XML_ERROR_UNCLOSED_TOKEN:
      return "the tag or comment that begins here does not end; check that the document is "
             "complete";
    case XML_ERROR_UNCLOSED_CDATA_SECTION:
      return "a CDATA section does not end; write ]]> at its end";
    case XML_ERROR_PARTIAL_CHAR:
      return kBadBytes;
    case XML_ERROR_JUNK_AFTER_DOC_ELEMENT:
      return "text or a second element after the root element; a document has one root";
    case XML_ERROR_BAD_CHAR_REF:
      return "a reference to a character that XML does not allow; remove it";
    case XML_ERROR_MISPLACED_XML_PI:
      return "an XML declaration that is not at the beginning of the document; remove it, or what "
             "is before it";
    case XML_ERROR_XML_DECL:
      return "the XML declaration is not well-formed; write <?xml version=\"1.0\"?> or remove it";
    default:
      return XML_ErrorString(code);
  }
}

// Returns the name at the beginning of `text`.
std::string NameIn(std::string_view text) {
  return Shown(text.substr(0, text.find_first_of("=;> \t\r\n")));
}

std::string AboutOpenElement(const kaml_content& open_element, const std::string& what) {
  const std::string name = Shown(open_element.name());
  return what + " <" + name + "> in line " + std::to_string(open_element.begin().line) +
         "; write </" + name + ">";
}

}  // namespace

std::string Explain(XML_Parser parser, XML_Index part_begin, const kaml_content* open_element) {
  int offset = 0;
  int size = 0;
  const char* input = XML_GetInputContext(parser, &offset, &size);
  const std::string_view known(input != nullptr ? input : "", static_cast<std::size_t>(size));
  const std::string_view rest = known.substr(static_cast<std::size_t>(offset));
  const XML_Error code = XML_GetErrorCode(parser);
  switch (code) {
    case XML_ERROR_INVALID_TOKEN:
    case XML_ERROR_SYNTAX: {
      const auto before = std::min<XML_Index>(offset, XML_GetCurrentByteIndex(parser) - part_begin);
      return AboutBadPart(known.substr(static_cast<std::size_t>(offset - before)), rest,
                          open_element != nullptr);
    }
    case XML_ERROR_TAG_MISMATCH:
      return AboutOpenElement(*open_element, "the end tag </" + NameIn(rest) + "> does not match");
    case XML_ERROR_UNDEFINED_ENTITY:
      return AboutEntity(rest);
    case XML_ERROR_DUPLICATE_ATTRIBUTE:
      return "the attribute \"" + NameIn(rest) + "\" is there twice; remove one";
    case XML_ERROR_NO_ELEMENTS:
      if (open_element != nullptr) {
        return AboutOpenElement(*open_element, "the document ends inside");
      }
      [[fallthrough]];
    default:
      return SentenceFor(code);
  }
}

std::string AboutEntity(std::string_view reference) {
  return (reference.starts_with('&')
              ? "the entity \"" + NameIn(reference.substr(1)) + "\" is unknown"
              : "an attribute uses an unknown entity") +
         "; write the text itself, and &amp; for \"&\"";
}

}  // namespace devhost
