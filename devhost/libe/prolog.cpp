#include "devhost/libe/prolog.h"

#include <strings.h>

#include <cstring>
#include <new>

namespace devhost {
namespace {

using namespace std::string_view_literals;

constexpr const char* kUtf8 = "UTF-8";
constexpr const char* kUtf16 = "UTF-16";

// Takes every character beyond ASCII for a letter that no keyword has. libxml2 checks those
// characters itself, in more encodings and by newer tables than expat.
char Plain(char low, char high = 0) { return high == 0 && (low & '\x80') == 0 ? low : 'z'; }

}  // namespace

Prolog::Prolog() : parser_(XML_ParserCreate("US-ASCII"), XML_ParserFree) {
  if (parser_ == nullptr) {
    throw std::bad_alloc();
  }
  XML_SetUserData(parser_.get(), this);
  XML_SetXmlDeclHandler(
      parser_.get(), [](void* self, const char* version, const char* encoding, int /*standalone*/) {
        static_cast<Prolog*>(self)->CheckDeclaration(version, encoding);
      });
  XML_SetStartElementHandler(parser_.get(),
                             [](void* self, const char* /*name*/, const char** /*attributes*/) {
                               static_cast<Prolog*>(self)->End("");
                             });
}

void Prolog::Add(std::string_view bytes) {
  if (bytes_ == 0) {
    DetectEncoding(bytes);
    bytes.remove_prefix(mark_size_);
  }
  if (!is_over_) {
    Parse(PlainText(bytes), false);
  }
}

const std::optional<Prolog::Fault>& Prolog::FindFault() {
  if (!is_over_) {
    Parse("", true);  // expat can have put off some text until there is more
  }
  return fault_;
}

void Prolog::DetectEncoding(std::string_view bytes) {
  const bool has_utf8_mark = bytes.starts_with("\xef\xbb\xbf");
  const bool has_utf16_mark = bytes.starts_with("\xff\xfe") || bytes.starts_with("\xfe\xff");
  is_little_endian_ = bytes.starts_with("\xff\xfe") || bytes.starts_with("<\0"sv);
  if (has_utf8_mark) {
    encoding_ = kUtf8;
    mark_size_ = 3;
  } else if (has_utf16_mark || is_little_endian_ || bytes.starts_with("\0<"sv)) {
    encoding_ = kUtf16;
    mark_size_ = has_utf16_mark ? 2 : 0;
  } else if (bytes.find_first_of("<\t\n\r ") != 0) {
    End("the document is in an encoding that is not supported; save it as UTF-8");
  }
}

bool Prolog::Agrees(const char* declared) const {
  if (encoding_ == kUtf16) {
    return strncasecmp(declared, kUtf16, std::strlen(kUtf16)) == 0 ||
           strcasecmp(declared, "ISO-10646-UCS-2") == 0;
  }
  return encoding_ == nullptr || strcasecmp(declared, kUtf8) == 0 ||
         strcasecmp(declared, "UTF8") == 0;
}

// Without a mark and a declared encoding, the encoding is UTF-8.
void Prolog::CheckDeclaration(std::string_view version, const char* encoding) {
  if (version == "1.") {
    End("the version in the XML declaration lacks its second number; write version=\"1.0\"");
  } else if (encoding != nullptr ? !Agrees(encoding) : mark_size_ == 0 && !Agrees(kUtf8)) {
    End(std::string("the document is in ") + encoding_ +
        ", which contradicts its XML declaration; write encoding=\"" + encoding_ + "\" there");
  }
}

std::string Prolog::PlainText(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) {
    if (encoding_ != kUtf16) {
      text += Plain(byte);
    } else if (bytes_ % 2 == 0) {
      first_of_pair_ = byte;
    } else {
      text += is_little_endian_ ? Plain(first_of_pair_, byte) : Plain(byte, first_of_pair_);
    }
    ++bytes_;
  }
  return text;
}

void Prolog::Parse(std::string_view text, bool is_final) {
  if (XML_Parse(parser_.get(), text.data(), static_cast<int>(text.size()), is_final) ==
          XML_STATUS_OK ||
      is_over_) {
    return;
  }
  switch (XML_GetErrorCode(parser_.get())) {
    case XML_ERROR_DUPLICATE_ATTRIBUTE:  // of the root, where letters that differ are alike here
      End("");
      break;
    case XML_ERROR_XML_DECL:
      End("the XML declaration is not well-formed; write <?xml version=\"1.0\"?> or remove it");
      break;
    default:
      End("the document type declaration is not well-formed; remove it, no document needs one");
  }
}

void Prolog::End(const std::string& why) {
  is_over_ = true;
  if (!why.empty()) {
    fault_ = {static_cast<int>(XML_GetCurrentLineNumber(parser_.get())), why};
  }
  XML_StopParser(parser_.get(), XML_FALSE);
}

}  // namespace devhost
