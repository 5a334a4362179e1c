#pragma once

// Keeps the descriptors of closed standard streams taken while a pass writes, if that of standard
// output is among them. Left free, a tunable would be opened with that descriptor, and whatever the
// process prints would be written into it. They are taken by something that cannot be written to
// either, so printing fails as it would without.
//
// A pass needs one free descriptor. If there is no other, one is given back: that of standard
// input, else of standard error, and only in the end of standard output (see OutputIsFree).
//
// While standard output is open, this costs one system call and takes nothing.
class StandardDescriptors {
 public:
  StandardDescriptors();
  ~StandardDescriptors() { Release(); }
  StandardDescriptors(const StandardDescriptors&) = delete;
  StandardDescriptors& operator=(const StandardDescriptors&) = delete;

  // True if the next file that is opened can get the descriptor of standard output. Print nothing
  // while it is open.
  bool OutputIsFree() const { return output_is_free_; }

  // Closes what was taken, unless the host has put something else in its place meanwhile. Keeps
  // errno. To be called before the host is: the host may open its standard streams again.
  void Release();

 private:
  // Closes one of them, if it was taken and is still what was opened.
  void GiveBack(int descriptor);

  bool taken_[3] = {};  // by descriptor
  bool output_is_free_ = false;
};
