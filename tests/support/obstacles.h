#pragma once

#include <sys/types.h>

#include <string>

// What a symbolic link in the place of a tunable can lead to, so that opening the tunable fails
// honestly, without a mount for each. All of it lies in the folder `folder`, which must not exist;
// each thing is made when it is first asked for, and its path is answered.
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

  // ETXTBSY for writing; reads as RunningProgram(). Throws std::runtime_error where the kernel does
  // not protect running programs.
  std::string Program();

  // An empty file on a file system without a free byte: it opens both ways, and what is written to
  // it is lost.
  std::string FullDevice();

  // EROFS for writing: a read-only view of the file at `path`, which is moved away from there.
  std::string ReadOnlyView(const std::string& path);

 private:
  bool Make(const std::string& path);
  std::string At(const char* name) const { return folder_ + "/" + name; }

  std::string folder_;
  pid_t program_ = 0;
};

// The bytes of the program that Obstacles runs: an executable whose text also holds words.
const std::string& RunningProgram();

// Takes the capabilities that let root open files whose mode forbids it from the process for good.
void ObeyFileModes();
