#pragma once

#include <string>

// A folder for the files of one test, which any user may read. It goes with this object.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::string Path(const std::string& name) const { return path_ + "/" + name; }

  // Writes a file and answers its path.
  std::string Write(const std::string& name, const std::string& bytes) const;

 private:
  std::string path_;
};
