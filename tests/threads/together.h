#pragma once

#include <functional>

// Runs `work` on `count` threads at once, each with a number from 0, and returns when all are done.
// None begins before all are there. What one of them throws is thrown again here.
void Together(int count, const std::function<void(int number)>& work);
