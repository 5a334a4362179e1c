#include "tests/kernel/write_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "tests/kernel/kernel.h"

// The core files are watched one by one, because a file that lies over another is none of the
// folder's.
WriteWatch::WriteWatch() : events_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  Add("ipv4");
  for (const char* file : {"core/rmem_max", "core/wmem_max"}) {
    if (KernelHas(file)) {
      Add(file);
    }
  }
}

WriteWatch::~WriteWatch() { close(events_); }

std::vector<std::string> WriteWatch::Take() {
  std::vector<std::string> files;
  alignas(inotify_event) char buffer[16384];
  ssize_t size;
  while ((size = read(events_, buffer, sizeof buffer)) > 0) {
    for (const char* next = buffer; next < buffer + size;) {
      const auto* event = reinterpret_cast<const inotify_event*>(next);
      if ((event->mask & IN_CLOSE_WRITE) != 0) {
        const std::string& watched = watched_.at(event->wd);
        files.push_back(event->len > 0 ? watched + "/" + event->name : watched);
      }
      next += sizeof *event + event->len;
    }
  }
  return files;
}

// Openings are watched too because equal events in a row come as one: they keep two writes apart.
void WriteWatch::Add(const std::string& file) {
  const int watch = inotify_add_watch(events_, KernelPath(file).c_str(), IN_OPEN | IN_CLOSE_WRITE);
  if (watch < 0) {
    throw std::system_error(errno, std::generic_category(), "watching " + KernelPath(file));
  }
  watched_[watch] = file;
}
