#include "tests/model/player/played_files.h"

#include <filesystem>

namespace model {
namespace {

// Files whose text a pass can have changed, or a scenario can need changed.
bool HasText(File::Kind kind) {
  return kind == File::kText || kind == File::kReadOnly || kind == File::kWriteProtected;
}

}  // namespace

void PlayedFiles::Put(const std::string& name, const File& file) {
  const auto [standing, is_new] = standing_.try_emplace(name, file.kind);
  if (is_new || standing->second != file.kind || HasText(file.kind)) {
    standing->second = file.kind;
    Make(name, file);
  }
}

std::map<std::string, std::string> PlayedFiles::Texts() {
  std::map<std::string, std::string> texts = TakeStrangers();
  for (const auto& [name, kind] : standing_) {
    if (kind == File::kText) {
      texts[name] = tree_.Read(name);
    }
  }
  return texts;
}

std::map<std::string, std::string> PlayedFiles::TakeStrangers() {
  std::map<std::string, std::string> texts;
  for (const std::string folder : {"core/", "ipv4/"}) {
    for (const auto& entry : std::filesystem::directory_iterator(TunableTree::Path(folder))) {
      const std::string name = folder + entry.path().filename().string();
      if (standing_.count(name) == 0) {
        texts[name] = tree_.Read(name);
      }
    }
  }
  for (const auto& [name, text] : texts) {
    std::filesystem::remove(TunableTree::Path(name));
  }
  return texts;
}

void PlayedFiles::Make(const std::string& name, const File& file) {
  using Obstacle = void (TunableTree::*)(const std::string&);
  static const std::map<File::Kind, Obstacle> kObstacles = {
      {File::kMissing, &TunableTree::MakeMissing},
      {File::kFolder, &TunableTree::MakeFolder},
      {File::kLoop, &TunableTree::MakeLoop},
      {File::kSocket, &TunableTree::MakeSocket},
      {File::kBelowAFile, &TunableTree::MakeBelowAFile},
      {File::kReadOnly, &TunableTree::LinkReadOnly},
      {File::kWriteProtected, &TunableTree::WriteProtect},
      {File::kSealed, &TunableTree::Seal},
      {File::kRunningProgram, &TunableTree::MakeRunningProgram},
      {File::kFullDevice, &TunableTree::MakeFull},
  };
  if (HasText(file.kind) || file.kind == File::kSealed) {
    tree_.Write(name, file.text);
  }
  if (file.kind != File::kText) {
    (tree_.*kObstacles.at(file.kind))(name);
  }
}

}  // namespace model
