#include "libe.h"

#include <memory>
#include <unordered_set>
#include <utility>

// A content without siblings: an element, or the text in it.
struct kaml_content {
  const char* name;                     // null for a text
  std::string text;                     // empty for an element
  std::unique_ptr<kaml_content> child;  // null for a text
};

namespace example {

Document::Document(const std::string& setting, const std::string& value)
    : content_(new kaml_content{kaml_intern("tcp-settings"), "", nullptr}) {
  auto text = std::make_unique<kaml_content>(kaml_content{nullptr, value, nullptr});
  content_->child = std::make_unique<kaml_content>(
      kaml_content{kaml_intern(setting.c_str()), "", std::move(text)});
}

Document::~Document() { delete content_; }

}  // namespace example

const char* kaml_intern(const char* text) {
  static std::unordered_set<std::string> names;
  return names.insert(text).first->c_str();
}

int kaml_cont_type(const kaml_content* content) { return content->name != nullptr ? 1 : 0; }

const kaml_content* kaml_cont_next(const kaml_content* /*content*/) { return nullptr; }

const char* kaml_elem_name(const kaml_content* content) { return content->name; }

const kaml_content* kaml_elem_contents(const kaml_content* content) { return content->child.get(); }

const char* kaml_text(const kaml_content* content) { return content->text.c_str(); }

bool kaeRequest::SendSuccess(kaml_content* /*body*/) {
  static_cast<example::Request*>(this)->reply = "success";
  return true;
}

bool kaeRequest::SendError(const std::string& error, const std::string& detail) {
  static_cast<example::Request*>(this)->reply = error + ": " + detail;
  return true;
}

kaeCPLayer::kaeCPLayer() = default;
kaeCPLayer::~kaeCPLayer() = default;
kaePlugin::~kaePlugin() = default;
