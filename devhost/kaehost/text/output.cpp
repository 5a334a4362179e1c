#include "devhost/kaehost/text/output.h"

#include <iostream>

namespace devhost {

std::ostream& Out() {
  static std::ostream out(std::cout.rdbuf());
  return out;
}

}  // namespace devhost
