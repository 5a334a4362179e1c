#include "devhost/kaehost/validate/prediction.h"

#include <fcntl.h>
#include <unistd.h>

#include <iterator>
#include <sstream>
#include <utility>
#include <vector>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/kernel/file_descriptor.h"

namespace devhost {
namespace {

void WriteTunable(const std::string& name, const std::string& text) {
  const FileDescriptor file(
      open(("/proc/sys/net/" + name).c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
  [[maybe_unused]] const ssize_t written = write(file.get(), text.data(), text.size());
}

}  // namespace

std::vector<std::string> WordsOf(const std::string& text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}

Prediction::Prediction(const Tunables& before) {
  for (const CatalogueEntry& entry : Catalogue()) {
    const auto found = before.find(entry.file);
    const std::vector<std::string> words =
        found != before.end() ? WordsOf(found->second.text) : std::vector<std::string>();
    const auto position = static_cast<std::size_t>(entry.position);
    values_[entry.element] =
        entry.imposed || position >= words.size() ? entry.default_value : words[position];
  }
}

Prediction& Prediction::Set(const Settings& settings) {
  for (const auto& [element, value] : settings) {
    values_[element] = value;
  }
  return *this;
}

void Prediction::Write() const {
  std::vector<std::pair<std::string, std::string>> files;  // in the order of the catalogue
  for (const CatalogueEntry& entry : Catalogue()) {
    if (files.empty() || files.back().first != entry.file) {
      files.emplace_back(entry.file, values_.at(entry.element));
    } else {
      files.back().second += " " + values_.at(entry.element);
    }
  }
  for (const auto& [name, text] : files) {
    WriteTunable(name, text);
  }
}

Tunables Prediction::AfterWriting() const {
  const Tunables before = ReadTunables();
  Write();
  Tunables after = ReadTunables();
  Restore(before);
  return after;
}

}  // namespace devhost
