#pragma once

#include <iconv.h>

#include <memory>
#include <string>
#include <string_view>

namespace devhost {

// Returns the encoding of a document that begins with these bytes: UTF-16LE or UTF-16BE by a
// byte order mark or the first characters of an XML declaration, else what that says, else UTF-8.
std::string EncodingOf(std::string_view beginning);

// Converts a document to UTF-8, piece by piece. It knows the encodings of iconv(3). A document in
// UTF-8 stays as it is: the parser finds its invalid bytes.
class Decoder {
 public:
  explicit Decoder(const std::string& encoding);

  bool knows_encoding() const { return is_utf8_ || iconv_ != nullptr; }

  // Returns the next piece in UTF-8, up to the first invalid bytes. It is valid until the next call
  // and as long as `bytes`.
  std::string_view Decode(std::string_view bytes, bool is_at_end);

  // Returns whether there were invalid bytes, such as half a character at the end.
  bool has_failed() const { return has_failed_; }

 private:
  const bool is_utf8_;
  const std::unique_ptr<void, int (*)(iconv_t)> iconv_;
  bool has_failed_ = false;
  std::string rest_;  // a part of a character
  std::string text_;
};

}  // namespace devhost
