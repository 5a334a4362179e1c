// The snapshot: the values that the kernel had when the layer was created.

#include "layer/kaTCPLayer.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>

#include "settings/CTCPSetting.h"

namespace {

void PrintPreviousValue(const CTCPSetting& setting) {
  std::printf("%s = %s\n", setting.GetName(), setting.GetPrevValue());
}

}  // namespace

// Both error texts have two blanks after the dash, the writer's have one. In both, errno is read
// only when the line has come to it.
bool kaTCPLayer::GetPreviousSettings() {
  std::cout << std::endl << "reading previous config..." << std::endl;
  char buffer[BUFSIZ];  // for all files: without it, each open allocates one of this size
  std::ifstream stream;
  stream.rdbuf()->pubsetbuf(buffer, sizeof buffer);
  std::string path;
  for (const auto& [name, setting] : settings_) {
    if (setting->HasParent()) {
      PrintPreviousValue(*setting);  // its container has read it
      continue;
    }
    path = setting->GetProcPath();
    stream.clear();
    stream.open(path, std::ios::in);
    if (stream.fail()) {
      std::cout << "error opening stream for read -  file [" << path
                << "]; error: " << std::strerror(errno) << std::endl;
    } else if (!stream.good()) {
      // The standard libraries in use give a stream that opened as good; another may not.
      std::cout << "stream not good for i/o -  file [" << path
                << "]; error: " << std::strerror(errno) << std::endl;
    } else {
      setting->ReadValue(stream);
      PrintPreviousValue(*setting);
    }
    stream.clear();
    stream.close();
  }
  std::cout << "reading config done" << std::endl;
  return true;
}

void kaTCPLayer::SetToPrevious() {
  std::cout << std::endl << "setting to previous values" << std::endl;
  for (const auto& [name, setting] : settings_) {
    setting->SetPrev();
  }
}
