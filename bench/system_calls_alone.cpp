#include "bench/system_calls_alone.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>

namespace bench {
namespace {

int Flags(const std::string& names) {
  if (names == "O_RDONLY") {
    return O_RDONLY;
  }
  if (names == "O_WRONLY|O_CREAT|O_TRUNC") {
    return O_WRONLY | O_CREAT | O_TRUNC;
  }
  throw std::runtime_error("unexpected open mode in the trace: " + names);
}

}  // namespace

SystemCallsAlone::SystemCallsAlone(const std::vector<SystemCall>& calls) {
  for (const SystemCall& call : calls) {
    if (call.name == "openat") {
      steps_.push_back({Step::kOpen, Flags(call.flags), false, call.path.c_str(), 0});
    } else if (call.name == "read") {
      steps_.push_back({Step::kRead, 0, false, nullptr, call.size});
    } else if (call.name == "write") {
      steps_.push_back({Step::kWrite, 0, call.fd == 1, call.text.data(), call.text.size()});
    } else if (call.name == "close") {
      steps_.push_back({Step::kClose, 0, false, nullptr, 0});
    } else if (call.name != "fcntl") {  // the values would be written without it
      throw std::runtime_error("unexpected call in the trace: " + call.ToString());
    }
  }
}

void SystemCallsAlone::Run() const {
  char buffer[8192];
  int fd = -1;
  for (const Step& step : steps_) {
    [[maybe_unused]] ssize_t done = 0;
    switch (step.kind) {
      case Step::kOpen:
        fd = open(step.text, step.flags, 0666);
        break;
      case Step::kRead:
        done = read(fd, buffer, step.size);
        break;
      case Step::kWrite:
        done = write(step.to_stdout ? STDOUT_FILENO : fd, step.text, step.size);
        break;
      case Step::kClose:
        close(fd);
        break;
    }
  }
}

}  // namespace bench
