#include "devhost/libe/observer.h"

#include "devhost/libe/document.h"

namespace devhost {

Observer observer = nullptr;

void SetObserver(Observer new_observer) { observer = new_observer; }

std::string TextOf(const char* text) {
  return text != nullptr ? '"' + std::string(text) + '"' : "null";
}

std::string TextOf(const kaml_content* content) {
  if (content == nullptr) {
    return "null";
  }
  return content->type() == kElement ? '<' + std::string(content->name()) + '>'
         : content->type() == kText  ? TextOf(content->text())
                                     : "content of type " + std::to_string(content->type());
}

}  // namespace devhost
