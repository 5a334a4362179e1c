#include "devhost/kaehost/plugin/plugin_output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <system_error>

#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

PluginOutput* running = nullptr;  // the one in whose Of the process is

void FlushAll() {
  std::cout.flush();
  std::fflush(stdout);
}

}  // namespace

// Without a buffer, printf and std::cout keep their order with write.
PluginOutput::PluginOutput(Fate fate) : fate_(fate) {
  if (fate != kDropped) {
    FlushAll();
    std::setvbuf(stdout, nullptr, _IONBF, 0);
  }
  if (fate == kShown) {
    return;
  }
  file_ = fate == kDropped ? open("/dev/null", O_WRONLY | O_CLOEXEC)
                           : memfd_create("progress", MFD_CLOEXEC);
  if (file_ < 0) {
    throw std::system_error(errno, std::generic_category(),
                            "cannot create a file for the output of the plug-in");
  }
}

PluginOutput::~PluginOutput() { close(file_); }

std::string PluginOutput::TextFrom(std::size_t begin) const {
  const off_t end = fate_ == kDropped ? -1 : lseek(file_, 0, SEEK_END);
  std::string text(end > static_cast<off_t>(begin) ? static_cast<std::size_t>(end) - begin : 0,
                   '\0');
  std::size_t size = 0;
  ssize_t read = 0;
  while (size < text.size() && (read = pread(file_, text.data() + size, text.size() - size,
                                             static_cast<off_t>(begin + size))) > 0) {
    size += static_cast<std::size_t>(read);
  }
  text.resize(size);
  return text;
}

std::string PluginOutput::Take() {
  std::string text = TextFrom(taken_);
  taken_ += text.size();
  return text;
}

void PluginOutput::ShowWhatIsHeld() {
  if (running != nullptr && running->fate_ == kHeld) {
    running->RestoreStandardOutput();
    Out() << ForOutput(running->Take()) << std::flush;
  }
}

void PluginOutput::RestoreStandardOutput() {
  FlushAll();
  if (standard_output_ >= 0) {
    dup2(standard_output_, STDOUT_FILENO);
    close(standard_output_);
    standard_output_ = -1;
  }
}

PluginOutput::Aside::Aside(PluginOutput& output) : output_(output) {
  running = &output;
  FlushAll();
  if (output.file_ >= 0) {
    output.standard_output_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    dup2(output.file_, STDOUT_FILENO);
  }
}

PluginOutput::Aside::~Aside() {
  output_.RestoreStandardOutput();
  running = nullptr;
}

}  // namespace devhost
