#include "settings/CTCPSetting.h"

CTCPSetting::CTCPSetting(const char* name, const char* default_value, const char* proc_file_name,
                         const char* element_name, const CTCPSetting* parent)
    : name_(name),
      proc_file_name_(proc_file_name),
      default_value_(default_value),
      value_(default_value_),
      previous_value_(default_value_),
      element_name_(element_name),
      parent_(parent) {}

std::string CTCPSetting::GetWriteValue() const { return value_; }

void CTCPSetting::ReadValue(std::istream& stream) { stream >> previous_value_; }

std::string CTCPSetting::GetProcPath() const { return "/proc/sys/net/ipv4/" + proc_file_name_; }

void CTCPSetting::SetDefault() { value_ = default_value_; }

void CTCPSetting::SetPrev() { value_ = previous_value_; }

void CTCPSetting::SetValue(const char* text) { value_ = text; }
