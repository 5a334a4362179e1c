#pragma once

// An empty /run during the lifetime of this object, for this process and those that it starts: the
// journals of kaehost lie there. Needs the private namespace that the tests' main enters.
class PrivateRun {
 public:
  PrivateRun();
  ~PrivateRun();
  PrivateRun(const PrivateRun&) = delete;
  PrivateRun& operator=(const PrivateRun&) = delete;
};
