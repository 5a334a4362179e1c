#include "settings/CTCPCoreSetting.h"

std::string CTCPCoreSetting::GetProcPath() const {
  return "/proc/sys/net/core/" + GetProcFileName();
}
