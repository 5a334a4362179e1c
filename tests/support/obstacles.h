#pragma once

#include <sys/types.h>

#include <string>

// Targets for a symbolic link that replaces a tunable, so that opening the tunable really fails,
// without a mount for each. They are in the folder `folder`, which must not exist yet. Each
// function creates its target on first use and returns the path.
class Obstacles {
 public:
  explicit Obstacles(std::string folder) : folder_(std::move(folder)) {}
  ~Obstacles();
  Obstacles(const Obstacles&) = delete;
  Obstacles& operator=(const Obstacles&) = delete;

  // ENXIO.
  std::string Socket();

  // ENOTDIR.
  std::string BelowAFile();

  // ETXTBSY for writing; reads as RunningProgram(). Throws std::runtime_error if the kernel does
  // not protect running programs.
  std::string Program();

  // An empty file on a full file system: it opens for reading and writing, but what is written to
  // it is lost.
  std::string FullDevice();

  // EROFS for writing: a read-only view of the file at `path`. Moves that file away.
  std::string ReadOnlyView(const std::string& path);

 private:
  bool Make(const std::string& path);
  std::string At(const char* name) const { return folder_ + "/" + name; }

  std::string folder_;
  pid_t program_ = 0;
};

// The bytes of the program that Obstacles runs: an executable that also contains words of text.
const std::string& RunningProgram();

// Permanently drops the capabilities that let root open files against their mode.
void ObeyFileModes();
