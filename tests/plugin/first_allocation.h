#pragma once

#include <cstddef>

// A program that links this replaces the ordinary allocation operator, the plug-in's included, and
// sees or refuses the first allocation after one of these calls.
struct FirstAllocation {
  void* address = nullptr;
  std::size_t size = 0;
  bool freed = false;
};

// Forgets the last one and answers where the next will be seen.
const FirstAllocation& WatchFirstAllocation();

// Lets the next allocation throw std::bad_alloc.
void RefuseFirstAllocation();
