#include "tests/devhost/support/filled_pipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <utility>

FilledPipe::FilledPipe(std::string bytes, std::string repeated) {
  std::signal(SIGPIPE, SIG_IGN);
  int ends[2];
  if (pipe(ends) != 0 || fcntl(ends[1], F_SETFD, FD_CLOEXEC) != 0) {
    throw std::runtime_error("cannot make a pipe");
  }
  read_end_ = ends[0];
  writer_ = std::thread([end = ends[1], begin = std::move(bytes), rest = std::move(repeated)] {
    bool is_read = write(end, begin.data(), begin.size()) >= 0;
    while (is_read && !rest.empty()) {
      is_read = write(end, rest.data(), rest.size()) >= 0;
    }
    close(end);
  });
}

FilledPipe::~FilledPipe() {
  close(read_end_);
  writer_.join();
}
