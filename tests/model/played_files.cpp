#include "tests/model/played_files.h"

namespace model {
namespace {

// What a pass may have changed, or a scenario may want otherwise.
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

std::map<std::string, std::string> PlayedFiles::Texts() const {
  std::map<std::string, std::string> texts;
  for (const auto& [name, kind] : standing_) {
    if (kind == File::kText) {
      texts[name] = tree_.Read(name);
    }
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
