#pragma once

#include <string>

#include "tests/support/obstacles.h"

// A stand-in for the kernel's tunables: an empty file system mounted over /proc/sys/net during the
// lifetime of this object, with the folders ipv4 and core. Names are paths below /proc/sys/net,
// such as "ipv4/tcp_sack". Needs the private namespace that the tests' main enters.
class TunableTree {
 public:
  TunableTree();
  ~TunableTree();
  TunableTree(const TunableTree&) = delete;
  TunableTree& operator=(const TunableTree&) = delete;

  // Creates a regular file with this text, and replaces what was there.
  void Write(const std::string& name, const std::string& text);

  // Returns the file's exact text.
  std::string Read(const std::string& name) const;

  // Opening fails with ENOENT, also for writing, as for a tunable that the kernel does not have.
  // (If the name were only absent, the open would create it.)
  void MakeMissing(const std::string& name);

  // Opening for writing fails with EISDIR. Opening for reading succeeds, but the read fails.
  void MakeFolder(const std::string& name);

  // Opening fails with ELOOP.
  void MakeLoop(const std::string& name);

  // Opening for writing fails with EROFS. Reading works.
  void MakeReadOnly(const std::string& name);

  // The same with a symbolic link, and much faster. `name` must be a file.
  void LinkReadOnly(const std::string& name);

  // Writing meets a full device: the open succeeds, the flush fails. Reads as empty.
  void MakeFull(const std::string& name);

  // Opening fails with ENXIO, ENOTDIR.
  void MakeSocket(const std::string& name);
  void MakeBelowAFile(const std::string& name);

  // Opening for writing fails with ETXTBSY. Reads as RunningProgram(). Throws std::runtime_error if
  // the kernel does not protect running programs.
  void MakeRunningProgram(const std::string& name);

  // Opening the existing file fails with EACCES: for writing only; for both. From the first call
  // on, the process can no longer open files against their mode.
  void WriteProtect(const std::string& name);
  void Seal(const std::string& name);

  // Returns the full path.
  static std::string Path(const std::string& name) { return "/proc/sys/net/" + name; }

 private:
  void Clear(const std::string& name);
  void Link(const std::string& target, const std::string& name);
  void SetMode(const std::string& name, unsigned mode);

  Obstacles obstacles_{Path("obstacles")};
  bool obeys_modes_ = false;
};
