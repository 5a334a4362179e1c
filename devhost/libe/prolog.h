#pragma once

#include <expat.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace devhost {

// Checks what comes before the root element with a second parser, expat. libxml2 2.9 accepts some
// of it that is not well-formed: "<!DOCTYPEa>", "<!DOCTYPE a>[]>", "<!NOTATION n >", an XML
// declaration that lacks a blank, and an encoding that contradicts the byte order mark.
class Prolog {
 public:
  struct Fault {
    int line;
    std::string why;
  };

  Prolog();

  // Takes the next bytes of the document, at first four or more. Ignores them after the root's
  // start tag.
  void Add(std::string_view bytes);

  // Returns the first fault, if there is one. Call it when the root's start tag has been added.
  const std::optional<Fault>& FindFault();

 private:
  void DetectEncoding(std::string_view bytes);
  bool Agrees(const char* declared) const;
  void CheckDeclaration(std::string_view version, const char* encoding);
  std::string PlainText(std::string_view bytes);
  void Parse(std::string_view text, bool is_final);
  void End(const std::string& why);

  const std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> parser_;
  std::size_t bytes_ = 0;
  const char* encoding_ = nullptr;  // if the first bytes show it: "UTF-8" or "UTF-16"
  std::size_t mark_size_ = 0;       // of the byte order mark
  bool is_little_endian_ = false;
  char first_of_pair_ = 0;
  bool is_over_ = false;
  std::optional<Fault> fault_;
};

}  // namespace devhost
