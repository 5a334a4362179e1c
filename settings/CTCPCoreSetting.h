#pragma once

#include <string>

#include "settings/CTCPSetting.h"

// A tunable of the socket core: its file lies under /proc/sys/net/core/. Nothing else differs.
class CTCPCoreSetting : public CTCPSetting {
 public:
  using CTCPSetting::CTCPSetting;

  std::string GetProcPath() const override;
};
