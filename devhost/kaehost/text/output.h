#pragma once

#include <iosfwd>

namespace devhost {

// Standard output with a state of kaehost's own: what a plug-in does to std::cout, a failed state
// or a format, must not silence or bend what is told of it.
std::ostream& Out();

}  // namespace devhost
