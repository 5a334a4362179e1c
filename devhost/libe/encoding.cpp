#include "devhost/libe/encoding.h"

#include <expat.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>

namespace devhost {
namespace {

using namespace std::string_view_literals;

constexpr const char* kUtf8 = "UTF-8";

using Name = std::array<char, 64>;  // which is longer than any that is known

// Returns what the XML declaration says. An error in it is left to the reading.
std::string DeclaredEncoding(std::string_view declaration) {
  Name encoding = {};
  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(XML_ParserCreate(kUtf8),
                                                                            XML_ParserFree);
  if (parser == nullptr) {
    throw std::bad_alloc();
  }
  XML_SetUserData(parser.get(), encoding.data());
  XML_SetXmlDeclHandler(parser.get(), [](void* name, const char* /*version*/, const char* declared,
                                         int /*standalone*/) {
    std::snprintf(static_cast<char*>(name), std::tuple_size_v<Name>, "%s",
                  declared != nullptr ? declared : "");
  });
  XML_Parse(parser.get(), declaration.data(), static_cast<int>(declaration.size()), XML_FALSE);
  if (XML_GetErrorCode(parser.get()) == XML_ERROR_NO_MEMORY) {
    throw std::bad_alloc();
  }
  return encoding[0] != '\0' ? encoding.data() : kUtf8;
}

// Returns null if the encoding is unknown.
iconv_t Open(const std::string& encoding) {
  iconv_t opened = iconv_open(kUtf8, encoding.c_str());
  if (reinterpret_cast<std::intptr_t>(opened) != -1) {
    return opened;
  }
  return errno != ENOMEM ? nullptr : throw std::bad_alloc();
}

}  // namespace

std::string EncodingOf(std::string_view beginning) {
  if (beginning.starts_with("\xff\xfe") || beginning.starts_with("<\0?\0"sv)) {
    return "UTF-16LE";
  }
  if (beginning.starts_with("\xfe\xff") || beginning.starts_with("\0<\0?"sv)) {
    return "UTF-16BE";
  }
  const std::string_view first = beginning.substr(0, 2);
  if (std::count(first.begin(), first.end(), '\0') == 1) {
    return "UTF-16 without a byte order mark";  // no decoder knows it, but the parser would take it
  }
  return beginning.starts_with("<?xml")
             ? DeclaredEncoding(beginning.substr(0, beginning.find('>') + 1))
             : kUtf8;
}

Decoder::Decoder(const std::string& encoding)
    : is_utf8_(strcasecmp(encoding.c_str(), kUtf8) == 0),
      iconv_(is_utf8_ ? nullptr : Open(encoding), iconv_close) {}

std::string_view Decoder::Decode(std::string_view bytes, bool is_at_end) {
  if (is_utf8_) {
    return bytes;
  }
  constexpr std::size_t kLongest = 12;  // three characters, to which a byte of some encodings grows
  rest_.append(bytes);
  text_.resize((rest_.size() + 1) * kLongest);
  char* in = rest_.data();
  char* out = text_.data();
  std::size_t in_size = rest_.size();
  std::size_t out_size = text_.size();
  const bool is_done =
      iconv(iconv_.get(), &in, &in_size, &out, &out_size) != static_cast<std::size_t>(-1);
  has_failed_ = !is_done && (errno != EINVAL || is_at_end);
  if (is_at_end) {  // some encodings hold the last character back
    iconv(iconv_.get(), nullptr, nullptr, &out, &out_size);
  }
  rest_.erase(0, rest_.size() - in_size);
  return {text_.data(), text_.size() - out_size};
}

}  // namespace devhost
