#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// The command kaehost as it was built, and the surroundings that it may find itself in.

// What it says when it holds the settings.
constexpr const char* kHolding = "kaehost: holding the settings until Ctrl-C or SIGTERM";

// What became of a run.
struct Outcome {
  int status;  // as a shell shows it: 128 and the signal's number for what a signal ended
  std::string out;
  std::string err;
  long peak_memory;  // in KiB
};

// A file without a name that takes what a process prints.
class OutputFile {
 public:
  OutputFile();
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  int fd() const { return fd_; }
  std::string Text() const;

 private:
  const int fd_;
};

// kaehost beside the test, for a minute at most. `prepare` is run in the new process before kaehost
// takes its place there.
class RunningKaehost {
 public:
  explicit RunningKaehost(std::vector<std::string> arguments,
                          const std::function<void()>& prepare = {});

  pid_t pid() const { return child_; }

  // Waits until it has printed `text`, on standard output or standard error; answers whether it
  // has, since it may end without.
  bool HasSaid(const std::string& text);

  // Waits until it ends. Once only.
  Outcome Finish();

 private:
  OutputFile out_;
  OutputFile err_;
  pid_t child_;
};

// Runs kaehost to its end.
Outcome Kaehost(std::vector<std::string> arguments, const std::function<void()>& prepare = {});

// Answers the path of one of the plug-ins of the folder broken/, as it was built.
std::string TestPlugin(const std::string& name);

// Whether a new user namespace is to be had here; inside a chroot none is.
bool HasUserNamespaces();

// Whether core/rmem_max and core/wmem_max are there, read-only, in a private namespace; older
// kernels show no such files, and then a request meets no obstacle.
bool HasReadOnlyCoreFiles();

// For `prepare`: lets the process have 32 files open.
void LimitOpenFiles();

// For `prepare`: leaves the process one mebibyte of stack, an eighth of what is usual.
void TakeASmallStack();

// For `prepare`: open with O_TMPFILE fails, as in a file system that has no such files.
void ForbidFilesWithoutAName();

// For `prepare`: refuses a system call where the low half of the argument has this value.
void Forbid(unsigned call, std::size_t argument, unsigned value);

// For `prepare`: refuses new file systems, as container run-times do: a call of mount without flags
// is neither a bind nor a change of a mount.
void ForbidNewFileSystems();

// For `prepare`: mounts the file or folder read-only, for this process alone; ends it where it
// cannot.
void MountReadOnly(const char* path);

// For `prepare`: makes the process one of an ordinary user, which loses its last capability when
// kaehost takes its place.
void BecomeOrdinaryUser();

// For `prepare`: forbids further namespaces to the process, which is root's or an ordinary user's.
// Where there are no user namespaces it is an ordinary user's in any case.
void ForbidUserNamespacesToRoot();
void ForbidNamespacesToRoot();
void ForbidNamespacesToOrdinaryUser();

// For `prepare`: lets the process, which is root's, have one network namespace at a time. Without
// user namespaces it does nothing.
void LeaveOneNamespaceToRoot();
