// Changes a tunable and then misbehaves, as the environment variable MISBEHAVES says: "MOMENT
// DEED".

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <list>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/devhost/test_plugins/working_plugin.h"

namespace {

constexpr const char* kWithoutLayer = "exit change late";

bool releases_slowly = false;

bool IsAsleep(pid_t process) {
  std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
  std::string number;
  std::string name;
  std::string state;
  return stat >> number >> name >> state && state == "S";
}

// Kaehost finds the reply and the end of this process at the same time.
void DieAfterTheReply() {
  const pid_t kaehost = getppid();
  const pid_t worker = getpid();
  kill(kaehost, SIGSTOP);
  if (fork() == 0) {
    while (!IsAsleep(worker)) {  // it waits for an order
      usleep(1000);
    }
    kill(worker, SIGKILL);
    while (getppid() == worker) {
      usleep(1000);
    }
    kill(kaehost, SIGCONT);
    _exit(EXIT_SUCCESS);
  }
}

void FillMemory() {
  const rlimit limit = {1U << 27, 1U << 27};
  setrlimit(RLIMIT_AS, &limit);
  std::list<std::vector<char>> pieces;
  for (;;) {
    pieces.emplace_back(1U << 16);
  }
}

template <class Deed>
void ForSockets(Deed deed) {
  for (int descriptor = 0; descriptor < 100; ++descriptor) {
    struct stat status = {};
    if (fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode)) {
      deed(descriptor);
    }
  }
}

void CloseNamespaces() {
  struct stat one = {};
  stat("/proc/self/ns/net", &one);
  for (int descriptor = 0; descriptor < 100; ++descriptor) {
    struct stat status = {};
    if (fstat(descriptor, &status) == 0 && status.st_dev == one.st_dev) {
      close(descriptor);
    }
  }
}

void Do(const std::string& deed) {
  if (deed == "crash") {
    std::signal(SIGSEGV, SIG_DFL);  // also if a sanitizer handles it
    std::raise(SIGSEGV);
  } else if (deed == "crash under a tracer") {
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    Do("crash");
  } else if (deed == "have a traced thread") {
    std::thread([] { ptrace(PTRACE_TRACEME, 0, nullptr, nullptr); }).join();
  } else if (deed == "hang with a traced thread") {
    std::thread([] {
      ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
      Do("hang");
    }).join();
  } else if (deed == "abort") {
    std::abort();
  } else if (deed == "_exit") {
    _exit(EXIT_SUCCESS);
  } else if (deed == "kill") {
    kill(getpid(), SIGKILL);
  } else if (deed == "hang") {
    sigset_t none;
    sigfillset(&none);
    sigprocmask(SIG_BLOCK, &none, nullptr);
    for (;;) {
      pause();
    }
  } else if (deed == "sleep") {
    for (;;) {
      pause();
    }
  } else if (deed == "stop") {
    std::raise(SIGSTOP);
  } else if (deed == "throw without memory") {
    FillMemory();
  } else if (deed == "end without memory") {
    []() noexcept { FillMemory(); }();
  } else if (deed == "leave a child") {
    if (fork() == 0) {
      prctl(PR_SET_PDEATHSIG, 0);
      sleep(60);
      _exit(EXIT_SUCCESS);
    }
    _exit(EXIT_SUCCESS);
  } else if (deed == "spoil the process") {
    // stdout is full from now on, and std::cout throws.
    std::cout.sync_with_stdio(false);
    std::cout << "lost";
    std::cout.exceptions(std::ios::badbit | std::ios::failbit);
    const int full = open("/dev/full", O_WRONLY);
    dup2(full, STDOUT_FILENO);
    close(full);
    std::signal(SIGCHLD, SIG_IGN);
    std::signal(SIGALRM, SIG_IGN);
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_UNBLOCK, &all, nullptr);
    fcntl(STDIN_FILENO, F_SETFL, O_NONBLOCK);
    [[maybe_unused]] const int ignored = chdir("/");
    clearenv();
  } else if (deed == "print an error") {
    std::fprintf(stderr, "an error\x1b[m\n");
  } else if (deed == "run out of memory") {
    throw std::bad_alloc();
  } else if (deed == "make streams non-blocking") {
    fcntl(STDIN_FILENO, F_SETFL, O_NONBLOCK);
    fcntl(STDERR_FILENO, F_SETFL, O_WRONLY | O_NONBLOCK);
  } else if (deed == "close all descriptors") {
    closefrom(0);
  } else if (deed == "hide the tunable") {
    mount("/proc/version", "/proc/sys/net/ipv4/tcp_sack", nullptr, MS_BIND, nullptr);
    _exit(EXIT_SUCCESS);
  } else if (deed == "change late") {
    usleep(300'000);
    WriteTunable("ipv4/tcp_sack", "0");
  } else if (deed == "crash the second time") {
    static bool is_second = false;
    if (std::exchange(is_second, true)) {
      Do("crash");
    }
  } else if (deed == "close the namespaces late") {
    static int count = 0;
    usleep(150'000);
    if (++count == 2) {
      CloseNamespaces();
    }
  } else if (deed == "fork") {
    if (fork() == 0) {
      prctl(PR_SET_PDEATHSIG, 0);
    }
  } else if (deed == "write to all descriptors") {
    ForSockets([](int socket) { send(socket, "Hello, descriptor", 17, 0); });
  } else if (deed == "send an empty answer") {
    ForSockets([](int socket) { send(socket, "\1\0\0\0\0\0\0\0\xa0", 9, 0); });
  } else if (deed == "send a number") {
    ForSockets([](int socket) { send(socket, "\1\0\0\0\0\0\0\0\1", 9, 0); });
  } else if (deed == "not wait") {
    ForSockets([](int socket) { fcntl(socket, F_SETFL, O_NONBLOCK); });
  } else if (deed == "print a tebibyte") {
    [[maybe_unused]] const int ignored = ftruncate(STDOUT_FILENO, off_t{1} << 40);
  } else if (deed == "exit with 3") {
    _exit(3);
  } else if (deed == "buffer its lines") {
    char* const buffer = new char[BUFSIZ];  // stdout has none of its own to go back to
    std::setvbuf(stdout, buffer, _IOFBF, BUFSIZ);
    std::printf("[buffered]\n");
    std::cout.setstate(std::ios::failbit);  // its flush does nothing now
  } else if (deed == "outlive kaehost") {
    std::signal(SIGPIPE, SIG_DFL);
    const pid_t kaehost = getppid();
    kill(kaehost, SIGKILL);
    while (getppid() == kaehost) {
      usleep(1000);
    }
  } else if (deed == "die after the reply") {
    DieAfterTheReply();
  } else if (deed == "have a timer") {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    const itimerval ticks = {{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &ticks, nullptr);
  } else if (deed == "interrupt and change") {
    kill(getppid(), SIGTERM);
    usleep(300'000);
    WriteTunable("ipv4/tcp_dsack", "0");
  } else if (deed == "interrupt and release slowly") {
    if (std::exchange(releases_slowly, true)) {  // then there are two layers
      kill(getppid(), SIGTERM);
      usleep(300'000);
    }
  } else if (deed == "interrupt late") {
    usleep(1'200'000);
    kill(getppid(), SIGTERM);
    usleep(300'000);
  }
}

void Pass(const std::string& moment) {
  const char* found = std::getenv("MISBEHAVES");
  const std::string misbehaves = found != nullptr ? found : "";
  if (misbehaves.starts_with(moment + ' ')) {
    WriteTunable("ipv4/tcp_sack", "0");
    Do(misbehaves.substr(moment.size() + 1));
  }
}

class Layer : public WorkingLayer {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* content) override {
    Pass("do_Configure");
    return WorkingLayer::do_Configure(request, content);
  }
  void do_Release() override {
    Pass("do_Release");
    usleep(releases_slowly ? 1'200'000 : 0);
    WriteTunable("ipv4/tcp_sack", "1");
    WorkingLayer::do_Release();
  }
};

class Plugin : public WorkingPlugin {
 public:
  Plugin() {
    Pass("constructor");
    if (std::string(std::getenv("MISBEHAVES")).starts_with("exit ")) {
      Dl_info found;
      dladdr(this, &found);
      dlopen(found.dli_fname, RTLD_NOW | RTLD_NODELETE);
    }
  }
  ~Plugin() override {
    Pass("destructor");
    Pass("exit");  // of the process: then it is not unloaded before
  }
  bool InitPlugin() override {
    Pass("InitPlugin");
    return true;
  }
  void CleanupPlugin() override { Pass("CleanupPlugin"); }
  kaeCPLayer* GetNewLayer() override {
    Pass("GetNewLayer");
    return std::string(std::getenv("MISBEHAVES")) == kWithoutLayer ? nullptr : new Layer;
  }
};

Plugin plugin;

}  // namespace

kaePlugin* this_kae_plugin = &plugin;
