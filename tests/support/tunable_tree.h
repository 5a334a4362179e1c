#pragma once

#include <string>

#include "tests/support/obstacles.h"

// A stand-in for the kernel's tunables: an empty file system laid over /proc/sys/net, with the
// folders ipv4 and core, for as long as this object lives. Names are paths below /proc/sys/net, as
// "ipv4/tcp_sack". Needs the private namespace that the tests' main enters.
class TunableTree {
 public:
  TunableTree();
  ~TunableTree();
  TunableTree(const TunableTree&) = delete;
  TunableTree& operator=(const TunableTree&) = delete;

  // Puts a regular file with this text there, whatever was there before.
  void Write(const std::string& name, const std::string& text);

  // Answers the file's exact text.
  std::string Read(const std::string& name) const;

  // Opening then gives ENOENT, for writing too, as for a tunable that the kernel does not have. (A
  // name that is merely absent would be created by the open.)
  void MakeMissing(const std::string& name);

  // Opening for writing then gives EISDIR; opening for reading succeeds and the read fails.
  void MakeFolder(const std::string& name);

  // Opening then gives ELOOP.
  void MakeLoop(const std::string& name);

  // Opening for writing then gives EROFS; reading works.
  void MakeReadOnly(const std::string& name);

  // The same by a symbolic link and in a fraction of the time. What is there must be a file.
  void LinkReadOnly(const std::string& name);

  // What is written then meets a full device: the open works, the flush fails. Reads as empty.
  void MakeFull(const std::string& name);

  // Opening then gives ENXIO, ENOTDIR.
  void MakeSocket(const std::string& name);
  void MakeBelowAFile(const std::string& name);

  // Opening for writing then gives ETXTBSY; what is read is RunningProgram(). Throws
  // std::runtime_error where the kernel knows no such protection.
  void MakeRunningProgram(const std::string& name);

  // Opening the file that is there then gives EACCES: for writing, both ways. From the first of
  // these on the process can no longer open what a file's mode forbids.
  void WriteProtect(const std::string& name);
  void Seal(const std::string& name);

  // Answers the full path.
  static std::string Path(const std::string& name) { return "/proc/sys/net/" + name; }

 private:
  void Clear(const std::string& name);
  void Link(const std::string& target, const std::string& name);
  void SetMode(const std::string& name, unsigned mode);

  Obstacles obstacles_{Path("obstacles")};
  bool obeys_modes_ = false;
};
