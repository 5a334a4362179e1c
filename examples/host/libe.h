#pragma once

#include <string>

#include "host/kae.h"
#include "host/kaml.h"

// The smallest host library: everything that the plug-in needs of a libe.so, and documents that are
// built in memory.
namespace example {

// A "tcp-settings" element with one setting, as long as this object lives.
class Document {
 public:
  Document(const std::string& setting, const std::string& value);
  ~Document();
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  const kaml_content* content() const { return content_; }

 private:
  kaml_content* const content_;
};

// Keeps its reply: "success", or the two texts of an error.
class Request : public kaeRequest {
 public:
  std::string reply = "none";
};

}  // namespace example
