#pragma once

#include <cstddef>

// Calls the virtual function in slot `slot` of the object at `object` only by its position, like
// code compiled against another copy of the class declaration. A virtual destructor takes two
// slots. Pass references as pointers.
template <class Result, class... Arguments>
#if defined(__clang__)
__attribute__((no_sanitize("function")))
#endif
Result
CallSlot(void* object, std::size_t slot, Arguments... arguments) {
  using Function = Result (*)(void*, Arguments...);
  return reinterpret_cast<Function>((*static_cast<void***>(object))[slot])(object, arguments...);
}
