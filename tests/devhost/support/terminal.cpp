#include "tests/devhost/support/terminal.h"

#include <pty.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

Terminal::Terminal() {
  if (openpty(&end_, &descriptor_, nullptr, nullptr, nullptr) != 0) {
    throw std::system_error(errno, std::generic_category(), "a terminal");
  }
}

Terminal::~Terminal() {
  close(end_);
  close(descriptor_);
}

void Terminal::TakeErrors() const {
  dup2(descriptor_, STDERR_FILENO);
  setenv("TERM", "xterm", 1);
}

std::string Terminal::Shown() {
  close(std::exchange(descriptor_, -1));  // reading does not wait for more then
  std::string shown;
  char piece[4096];
  for (ssize_t size = 0; (size = read(end_, piece, sizeof piece)) > 0;) {
    shown.append(piece, static_cast<std::size_t>(size));
  }
  return shown;
}
