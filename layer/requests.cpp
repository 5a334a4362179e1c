// Requests: from a document to the settings' values, and the reply. What the host calls.

#include "layer/kaTCPLayer.h"

#include <iostream>

#include "host/kaml.h"
#include "settings/CTCPSetting.h"

namespace {

constexpr int kText = 0;
constexpr int kElement = 1;

using Settings = std::map<const char*, CTCPSetting*>;

// Element names are compared as the host's interned pointers; an equal text at another address is
// another name. Answers null when no setting bears the name.
CTCPSetting* FindByElementName(const Settings& settings, const char* element_name) {
  for (const auto& [name, setting] : settings) {
    if (setting->GetXmlName() == element_name) {
      return setting;
    }
  }
  return nullptr;
}

}  // namespace

bool kaTCPLayer::do_Configure(kaeRequest* request, const kaml_content* content) {
  for (const kaml_content* c = content; c != nullptr; c = kaml_cont_next(c)) {
    if (kaml_cont_type(c) == kElement && !HandleRequest(request, c)) {
      return false;
    }
  }
  return request->SendSuccess(nullptr);
}

void kaTCPLayer::do_Start() {}

void kaTCPLayer::do_Stop() {}

void kaTCPLayer::do_Release() {
  WritePrevious();
  delete this;
}

bool kaTCPLayer::HandleRequest(kaeRequest* request, const kaml_content* content) {
  if (content == nullptr || kaml_cont_type(content) != kElement ||
      kaml_elem_name(content) != root_element_name_) {
    return false;
  }
  return HandleConfig(request, kaml_elem_contents(content));
}

// Text between the elements is told, an element of an unknown name is not: both are intended.
bool kaTCPLayer::HandleConfig(kaeRequest* request, const kaml_content* first) {
  std::cout << "received TCP_Settings command" << std::endl;
  for (const kaml_content* c = first; c != nullptr; c = kaml_cont_next(c)) {
    const char* name = kaml_elem_name(c);
    if (kaml_cont_type(c) != kElement) {
      // Writing a null text would leave std::cout failed and silence every later line.
      std::cout << "Unknown element: " << (name != nullptr ? name : "") << std::endl;
      continue;
    }
    const kaml_content* value = kaml_elem_contents(c);
    if (value == nullptr) {
      continue;
    }
    if (kaml_cont_type(value) != kText) {
      std::cout << "Content not text. Element: " << name << std::endl;
      continue;
    }
    CTCPSetting* setting = FindByElementName(settings_, name);
    if (setting == nullptr) {
      continue;
    }
    setting->SetValue(kaml_text(value));
    std::cout << "Setting new value - " << setting->GetName() << " = " << setting->GetValue()
              << std::endl;
  }
  return WriteConfig(request);
}
