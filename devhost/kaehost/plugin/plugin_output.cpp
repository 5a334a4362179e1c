#include "devhost/kaehost/plugin/plugin_output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <system_error>

namespace devhost {
namespace {

void FlushAll() {
  std::cout.flush();
  std::fflush(stdout);
}

}  // namespace

PluginOutput::PluginOutput(Fate fate) {
  if (fate == kShown) {
    return;
  }
  file_ = fate == kKept ? memfd_create("progress", MFD_CLOEXEC)
                        : open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (file_ < 0) {
    throw std::system_error(errno, std::generic_category(), "taking the plug-in's output aside");
  }
}

PluginOutput::~PluginOutput() { close(file_); }

std::string PluginOutput::Text() const {
  const off_t size = lseek(file_, 0, SEEK_END);
  std::string text(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
  const ssize_t read = pread(file_, text.data(), text.size(), 0);
  text.resize(read > 0 ? static_cast<std::size_t>(read) : 0);
  return text;
}

PluginOutput::Aside::Aside(int file) {
  FlushAll();
  if (file >= 0) {
    standard_output_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    dup2(file, STDOUT_FILENO);
  }
}

PluginOutput::Aside::~Aside() {
  FlushAll();
  if (standard_output_ >= 0) {
    dup2(standard_output_, STDOUT_FILENO);
    close(standard_output_);
  }
}

}  // namespace devhost
