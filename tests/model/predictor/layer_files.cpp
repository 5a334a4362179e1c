// The part of a layer that uses the kernel's files.

#include <cerrno>
#include <cstring>

#include "tests/model/predictor/layer.h"

namespace model {

namespace {

std::string PathOf(const Row& row) { return std::string("/proc/sys/net/") + row.file; }

std::vector<std::string> WordsOf(const std::string& text) {
  const char* const blanks = " \t\n\v\f\r";
  std::vector<std::string> words;
  std::size_t begin = text.find_first_not_of(blanks);
  while (begin != std::string::npos) {
    const std::size_t end = text.find_first_of(blanks, begin);
    words.push_back(text.substr(begin, end - begin));
    begin = text.find_first_not_of(blanks, end);
  }
  return words;
}

}  // namespace

void Layer::TakeSnapshot() {
  surroundings_->PrintLine("");
  surroundings_->PrintLine("reading previous config...");
  for (std::size_t i = 0; i < settings_.size(); ++i) {
    const Setting& setting = settings_[i];
    const bool is_child = setting.row->values == 0;
    const int error = is_child ? 0 : ReadFile(i);
    if (error == 0) {
      surroundings_->PrintValue(setting.row->name, setting.previous.c_str());
    } else {
      surroundings_->PrintLine("error opening stream for read -  file [" + PathOf(*setting.row) +
                               "]; error: " + std::strerror(error));
    }
  }
  surroundings_->PrintLine("reading config done");
}

// If the file has too few words, the other settings do not change. Extra words are ignored.
int Layer::ReadFile(std::size_t first) {
  const Row& row = *settings_[first].row;
  const int error = surroundings_->OpenError(row.file, Surroundings::Way::kReading);
  if (error != 0) {
    return error;
  }
  const std::vector<std::string> words = WordsOf(surroundings_->Content(row.file));
  for (std::size_t i = 0; i < row.values && i < words.size(); ++i) {
    settings_[first + i].previous = words[i];
  }
  return 0;
}

void Layer::SetToPrevious() {
  surroundings_->PrintLine("");
  surroundings_->PrintLine("setting to previous values");
  for (Setting& setting : settings_) {
    setting.value = setting.previous;
  }
}

bool Layer::WriteConfig(Policy policy) {
  surroundings_->PrintLine("");
  surroundings_->PrintLine("writing config...");
  for (std::size_t i = 0; i < settings_.size(); ++i) {
    const Setting& setting = settings_[i];
    const bool is_child = setting.row->values == 0;
    const int error = is_child ? 0 : WriteFile(i);
    if (error == 0) {
      surroundings_->PrintValue(setting.row->name, setting.value.c_str());
    } else if (error == ENOENT) {
      surroundings_->PrintLine("file [" + PathOf(*setting.row) + "]; does not exist. Skipped.");
    } else if (policy == Policy::kRollBack) {
      return SendFileError(PathOf(*setting.row), std::strerror(error));
    } else {
      surroundings_->PrintLine("error opening stream for write - file [" + PathOf(*setting.row) +
                               "]; error: " + std::strerror(error));
    }
  }
  surroundings_->PrintLine("config done");
  return true;
}

int Layer::WriteFile(std::size_t first) {
  const Row& row = *settings_[first].row;
  const int error = surroundings_->OpenError(row.file, Surroundings::Way::kWriting);
  if (error == 0) {
    surroundings_->Replace(row.file, WriteValue(first));
  }
  return error;
}

std::string Layer::WriteValue(std::size_t first) const {
  std::string text = settings_[first].value;
  for (std::size_t i = 1; i < settings_[first].row->values; ++i) {
    text += ' ' + settings_[first + i].value;
  }
  return text;
}

bool Layer::SendFileError(const std::string& path, const std::string& error) {
  const std::string detail = "[" + path + "]: " + error;
  surroundings_->PrintLine("file write error: " + detail);
  WritePrevious();
  surroundings_->SendError("file error", detail);
  return false;
}

void Layer::WritePrevious() {
  SetToPrevious();
  WriteConfig(Policy::kGoOn);
}

}  // namespace model
