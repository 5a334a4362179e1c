#include "tests/support/obstacles.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <linux/close_range.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace {

void Check(bool success, const std::string& what) {
  if (!success) {
    throw std::system_error(errno, std::generic_category(), what);
  }
}

bool Exists(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0;
}

void WriteFile(const std::string& path, const std::string& text) {
  Check(static_cast<bool>((std::ofstream(path, std::ios::binary) << text).flush()), path);
}

// Returns after the child has executed the program. The program ends with this process and keeps
// none of its descriptors.
pid_t Run(const std::string& program) {
  std::array<int, 2> until_exec = {};
  Check(pipe2(until_exec.data(), O_CLOEXEC) == 0, "pipe");
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == 0) {
    // A program that gained capabilities would lose the signal.
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
      _exit(1);
    }
    close_range(0, ~0U, CLOSE_RANGE_CLOEXEC);
    execl(program.c_str(), program.c_str(), nullptr);
    _exit(1);
  }
  Check(child > 0, "fork");
  close(until_exec[1]);
  char none = 0;
  Check(read(until_exec[0], &none, 1) == 0, "waiting for " + program);
  close(until_exec[0]);
  return child;
}

}  // namespace

Obstacles::~Obstacles() {
  if (program_ > 0) {
    kill(program_, SIGKILL);
    waitpid(program_, nullptr, 0);
  }
}

// Returns whether `path` still has to be created.
bool Obstacles::Make(const std::string& path) {
  Check(mkdir(folder_.c_str(), 0777) == 0 || errno == EEXIST, folder_);
  return !Exists(path);
}

std::string Obstacles::Socket() {
  std::string path = At("socket");
  if (Make(path)) {
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    Check(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, path);
    close(socket);
  }
  return path;
}

std::string Obstacles::BelowAFile() {
  const std::string path = At("file");
  if (Make(path)) {
    WriteFile(path, "");
  }
  return path + "/below";
}

std::string Obstacles::Program() {
  std::string path = At("program");
  if (Make(path)) {
    WriteFile(path, RunningProgram());
    Check(chmod(path.c_str(), 0777) == 0, path);
    program_ = Run(path);
    if (open(path.c_str(), O_WRONLY | O_CLOEXEC) >= 0 || errno != ETXTBSY) {
      throw std::runtime_error(
          "this kernel lets running programs be written (6.11 and 6.12 do), or this machine does "
          "not run programs for 64-bit x86");
    }
  }
  return path;
}

std::string Obstacles::FullDevice() {
  const std::string device = At("full");
  if (Make(device)) {
    Check(mkdir(device.c_str(), 0777) == 0, device);
    Check(mount("tmpfs", device.c_str(), "tmpfs", 0, "size=4k") == 0, device);
    WriteFile(device + "/file", "");
    std::ofstream(device + "/filler") << std::string(1U << 20, 'x');
    if ((std::ofstream(device + "/file") << "1").flush()) {
      throw std::runtime_error(device + " is not full");
    }
  }
  return device + "/file";
}

std::string Obstacles::ReadOnlyView(const std::string& path) {
  const std::string kept = At("kept");
  const std::string view = At("read_only");
  if (Make(kept)) {
    Check(mkdir(kept.c_str(), 0777) == 0 && mkdir(view.c_str(), 0777) == 0, kept);
    Check(mount(kept.c_str(), view.c_str(), "none", MS_BIND, nullptr) == 0 &&
              mount("none", view.c_str(), "none", MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0,
          view);
  }
  std::string name = path;
  for (char& character : name) {
    character = character == '/' ? '.' : character;
  }
  Check(std::rename(path.c_str(), (kept + "/" + name).c_str()) == 0, path);
  return view + "/" + name;
}

void ObeyFileModes() {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets = {};
  Check(syscall(SYS_capget, &header, sets.data()) == 0, "capget");
  constexpr unsigned kOverride = 1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH;
  sets[0].effective &= ~kOverride;
  sets[0].permitted &= ~kOverride;
  Check(syscall(SYS_capset, &header, sets.data()) == 0, "capset");
}
