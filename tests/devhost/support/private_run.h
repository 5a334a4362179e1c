#pragma once

#include "devhost/kaehost/kernel/tunables.h"

// An empty /run during the lifetime of this object, for this process and those that it starts: the
// journals of kaehost lie there. At its end the tunables are what they were, for the next test.
// Needs the private namespace that the tests' main enters. A program with this file also has one
// for all its tests.
class PrivateRun {
 public:
  PrivateRun();
  ~PrivateRun();
  PrivateRun(const PrivateRun&) = delete;
  PrivateRun& operator=(const PrivateRun&) = delete;

 private:
  const devhost::Tunables before_ = devhost::ReadTunables();
};
