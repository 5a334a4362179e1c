// Writing the settings to the kernel, and the rollback when a file cannot be opened.

#include "layer/kaTCPLayer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>

#include "settings/CTCPSetting.h"

namespace {

void PrintValue(const CTCPSetting& setting) {
  std::printf("%s = %s\n", setting.GetName(), setting.GetValue());
}

// Keeps the descriptors of closed standard streams taken while it lives, by what takes no writing
// either. Left free, a tunable would be opened with that of standard output, and the lines that
// printf holds back would be written into it. Costs nothing while std::cout works.
class StandardDescriptors {
 public:
  StandardDescriptors() {
    if (std::cout.good()) {
      return;
    }
    int next = open("/", O_PATH | O_CLOEXEC);
    for (; next >= 0 && next <= STDERR_FILENO; next = open("/", O_PATH | O_CLOEXEC)) {
      taken_[count_++] = next;
    }
    close(next);
  }
  ~StandardDescriptors() {
    while (count_ > 0) {
      close(taken_[--count_]);
    }
  }
  StandardDescriptors(const StandardDescriptors&) = delete;
  StandardDescriptors& operator=(const StandardDescriptors&) = delete;

 private:
  int taken_[STDERR_FILENO + 1];
  int count_ = 0;
};

}  // namespace

bool kaTCPLayer::WriteConfig(kaeRequest* request) {
  std::cout << std::endl << "writing config..." << std::endl;
  const StandardDescriptors taken;
  std::string path;
  std::ofstream stream;
  for (const auto& [name, setting] : settings_) {
    if (setting->HasParent()) {
      PrintValue(*setting);  // its container writes it
      continue;
    }
    path = setting->GetProcPath();
    stream.clear();
    stream.open(path, std::ios::out | std::ios::binary);
    if (!stream.is_open()) {
      const int error = errno;
      if (error == ENOENT) {
        std::cout << "file [" << path << "]; does not exist. Skipped." << std::endl;
      } else if (request != nullptr) {
        return SendFileError(stream, path, request);
      } else {
        std::cout << "error opening stream for write - file [" << path
                  << "]; error: " << std::strerror(error) << std::endl;
      }
    } else if (!stream.good()) {
      // The standard libraries in use give a stream that opened as good; another may not.
      std::cout << "stream not good for i/o - file [" << path
                << "]; error: " << std::strerror(errno) << std::endl;
      if (request != nullptr) {
        return SendFileError(stream, path, request);
      }
    } else {
      stream << setting->GetWriteValue();
      PrintValue(*setting);
    }
    // Only a failed open is a failure: what the write and the close came to is left unexamined.
    stream.clear();
    stream.close();
  }
  std::cout << "config done" << std::endl;
  return true;
}

bool kaTCPLayer::SendFileError(std::ofstream& stream, const std::string& path,
                               kaeRequest* request) {
  const int error = errno;  // before anything here can change it
  const std::string detail = "[" + path + "]: " + std::strerror(error);
  std::cout << "file write error: " << detail << std::endl;
  WritePrevious();
  if (request != nullptr) {
    request->SendError("file error", detail);
  }
  stream.clear();
  stream.close();
  return false;
}

void kaTCPLayer::WritePrevious() {
  SetToPrevious();
  WriteConfig(nullptr);
}
