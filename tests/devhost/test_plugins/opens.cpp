// Opens a tunable while it is configured, in the way that the environment variable OPENS names.

#include <fcntl.h>
#include <linux/openat2.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>

#include "tests/devhost/test_plugins/working_plugin.h"

namespace {

constexpr const char* kTunable = "/proc/sys/net/ipv4/tcp_sack";

void TellCount(const std::string& what, int count) {
  Tell((what + ' ' + std::to_string(count)).c_str());
}

int OpenDescriptors() {
  int count = 0;
  for (int descriptor = 0; descriptor < 1024; ++descriptor) {
    count += fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
  }
  return count;
}

// At most one signal meets each opening.
void UnderSignals() {
  constexpr int kOpenings = 500;
  struct sigaction action = {};
  action.sa_handler = [](int) {};
  action.sa_flags = SA_RESTART;
  sigaction(SIGALRM, &action, nullptr);
  const int before = OpenDescriptors();
  for (int i = 0; i < kOpenings; ++i) {
    const itimerval once = {{0, 0}, {0, 1 + i % 100}};
    setitimer(ITIMER_REAL, &once, nullptr);
    close(open(kTunable, O_RDONLY));
  }
  const itimerval never = {};
  setitimer(ITIMER_REAL, &never, nullptr);
  TellCount("leaked", OpenDescriptors() - before);
}

void InANamespaceOfAThread() {
  std::thread([] {
    if (unshare(CLONE_NEWNET) != 0) {
      Tell("no namespace");
    }
    WriteTunable("ipv4/tcp_sack", "0");
  }).join();
}

// The other end of a pipe is opened after the tunable.
void BesideAPipe() {
  const std::string pipe = std::string(std::getenv("HOME")) + "/pipe";
  mkfifo(pipe.c_str(), 0600);
  std::thread reader([&pipe] { close(open(pipe.c_str(), O_RDONLY)); });
  usleep(10'000);
  close(open(kTunable, O_RDONLY));
  close(open(pipe.c_str(), O_WRONLY));
  reader.join();
}

// The path lies in two pages, and then at the end of one, after which there is no memory.
void WithOpenat2() {
  const std::string path = kTunable;
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  auto* const pages = static_cast<char*>(
      mmap(nullptr, 3 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  munmap(pages + 2 * page, page);
  open_how how = {};
  how.flags = O_WRONLY;
  for (const std::size_t begin : {page - 10, 2 * page - path.size() - 1}) {
    path.copy(pages + begin, path.size());
    pages[begin + path.size()] = '\0';
    const long file = syscall(SYS_openat2, AT_FDCWD, pages + begin, &how, sizeof how);
    TellCount("result", file >= 0 ? 0 : errno);
    close(static_cast<int>(file));
  }
  munmap(pages, 2 * page);
}

// Then this process is ended.
void WithoutListener() {
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code closed;
    if (read_symlink(entry.path(), closed).string().find("seccomp") != std::string::npos) {
      close(std::stoi(entry.path().filename()));
      close(open(kTunable, O_RDONLY));
      pause();
    }
  }
}

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* content) override {
    const std::string way = std::getenv("OPENS");
    if (way == "under signals") {
      UnderSignals();
    } else if (way == "in a namespace of a thread") {
      InANamespaceOfAThread();
    } else if (way == "beside a pipe") {
      BesideAPipe();
    } else if (way == "with openat2") {
      WithOpenat2();
    } else if (way == "without listener") {
      WithoutListener();
    } else if (way == "between calls") {
      thread_ = std::thread([] {
        usleep(10'000);
        close(open("/proc/sys/net/ipv4/tcp_fin_timeout", O_RDONLY));
      });
    } else if (way == "without a main thread") {
      request->SendSuccess(nullptr);
      syscall(SYS_exit, 0);
    }
    TellCount("no_new_privs", prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0));
    return WorkingLayer::do_Configure(request, content);
  }
  void do_Release() override {
    if (thread_.joinable()) {
      thread_.join();
    }
    WorkingLayer::do_Release();
  }

 private:
  std::thread thread_;
};

PluginOf<Layer> plugin;

}  // namespace

kaePlugin* this_kae_plugin = &plugin;
