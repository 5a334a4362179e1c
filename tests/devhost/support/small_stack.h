#pragma once

#include <functional>

// Runs `work` on a thread whose stack has no room for a recursion through a whole document.
void OnASmallStack(std::function<void()> work);
