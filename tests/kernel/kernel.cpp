#include "tests/kernel/kernel.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <sstream>
#include <system_error>

namespace {

std::optional<std::string> Read(const std::string& file) {
  const int fd = open(KernelPath(file).c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    return {};
  }
  std::string text;
  char buffer[4096];
  ssize_t size;
  while ((size = read(fd, buffer, sizeof buffer)) > 0) {
    text.append(buffer, static_cast<std::size_t>(size));
  }
  close(fd);
  return size == 0 ? std::optional(Join(Words(text))) : std::nullopt;
}

void ReadFolder(const std::string& folder, KernelState& state) {
  DIR* entries = opendir(KernelPath(folder).c_str());
  if (entries == nullptr) {
    throw std::system_error(errno, std::generic_category(), KernelPath(folder));
  }
  while (const dirent* entry = readdir(entries)) {
    const std::string path = folder + "/" + entry->d_name;
    if (entry->d_name[0] == '.') {
      continue;
    }
    if (entry->d_type == DT_DIR) {
      ReadFolder(path, state);
    } else if (const auto text = Read(path)) {
      state[path] = *text;
    }
  }
  closedir(entries);
}

}  // namespace

KernelState ReadKernel() {
  KernelState state;
  ReadFolder("ipv4", state);
  ReadFolder("core", state);
  return state;
}

KernelState Changes(const KernelState& before, const KernelState& after) {
  KernelState changes;
  for (const auto& [file, text] : after) {
    const auto old = before.find(file);
    if (old == before.end() || old->second != text) {
      changes[file] = text;
    }
  }
  for (const auto& [file, text] : before) {
    if (!after.contains(file)) {
      changes[file] = "(gone)";
    }
  }
  return changes;
}

std::string KernelPath(const std::string& file) { return "/proc/sys/net/" + file; }

bool KernelHas(const std::string& file) { return access(KernelPath(file).c_str(), F_OK) == 0; }

int WriteOpenError(const std::string& file) {
  const int fd = open(KernelPath(file).c_str(), O_WRONLY | O_CLOEXEC);
  if (fd < 0) {
    return errno;
  }
  close(fd);
  return 0;
}

std::string KernelText(const std::string& file) {
  const auto text = Read(file);
  if (!text) {
    throw std::system_error(errno, std::generic_category(), KernelPath(file));
  }
  return *text;
}

void SetKernel(const std::string& file, const std::string& text) {
  const int fd = open(KernelPath(file).c_str(), O_WRONLY | O_CLOEXEC | O_TRUNC);
  const ssize_t size = write(fd, text.data(), text.size());
  const int error = errno;
  close(fd);
  if (size != static_cast<ssize_t>(text.size())) {
    throw std::system_error(error, std::generic_category(), KernelPath(file) + ": " + text);
  }
}

std::vector<std::string> Words(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

std::string Join(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : " ") + word;
  }
  return text;
}
