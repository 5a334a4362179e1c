#include "settings/CTCPSettingContainer.h"

CTCPSettingContainer::CTCPSettingContainer(const char* name, const char* default_value,
                                           const char* proc_file_name, const char* element_name)
    : CTCPSetting(name, default_value, proc_file_name, element_name, nullptr) {}

void CTCPSettingContainer::AddChild(CTCPSetting* child) { children_.push_back(child); }

std::string CTCPSettingContainer::GetWriteValue() const {
  std::string text = CTCPSetting::GetWriteValue();
  for (const CTCPSetting* child : children_) {
    text += ' ';
    text += child->GetWriteValue();
  }
  return text;
}

void CTCPSettingContainer::ReadValue(std::istream& stream) {
  CTCPSetting::ReadValue(stream);
  for (CTCPSetting* child : children_) {
    child->ReadValue(stream);
  }
}
