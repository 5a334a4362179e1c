// Writing the settings to the kernel, and the rollback when a file cannot be opened.

#include "layer/kaTCPLayer.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>

#include "layer/StandardDescriptors.h"
#include "settings/CTCPSetting.h"

namespace {

void PrintValue(const CTCPSetting& setting) {
  std::printf("%s = %s\n", setting.GetName(), setting.GetValue());
}

}  // namespace

bool kaTCPLayer::WriteConfig(kaeRequest* request) {
  std::cout << std::endl << "writing config..." << std::endl;
  StandardDescriptors taken;
  std::string path;
  char buffer[BUFSIZ];  // for all files: without it, each open allocates one of this size
  std::ofstream stream;
  stream.rdbuf()->pubsetbuf(buffer, sizeof buffer);
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
        taken.Release();  // the host is called next, and may open its standard streams again
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
        taken.Release();
        return SendFileError(stream, path, request);
      }
    } else {
      stream << setting->GetWriteValue();
      if (taken.OutputIsFree()) {
        stream.close();  // else the line could be written into the tunable
      }
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
