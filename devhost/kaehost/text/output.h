#pragma once

#include <iosfwd>

namespace devhost {

// Standard output with its own state. A plug-in can set a failed state or a format in std::cout;
// that must not suppress or change the report about it.
std::ostream& Out();

}  // namespace devhost
