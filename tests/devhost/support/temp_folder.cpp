#include "tests/devhost/support/temp_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

TempFolder::TempFolder() : path_(fs::temp_directory_path() / "kaetcp-test-XXXXXX") {
  if (mkdtemp(path_.data()) == nullptr) {
    throw std::runtime_error("cannot create " + path_);
  }
  fs::permissions(path_, fs::perms(0755));
}

TempFolder::~TempFolder() { fs::remove_all(path_); }

std::string TempFolder::Write(const std::string& name, const std::string& bytes) const {
  if (!(std::ofstream(Path(name), std::ios::binary) << bytes).flush()) {
    throw std::runtime_error("cannot write " + Path(name));
  }
  return Path(name);
}
