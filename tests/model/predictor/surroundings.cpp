#include "tests/model/predictor/surroundings.h"

#include <cerrno>
#include <cstddef>

namespace model {

int ReadError(File::Kind kind) {
  switch (kind) {
    case File::kMissing:
      return ENOENT;
    case File::kLoop:
      return ELOOP;
    case File::kSocket:
      return ENXIO;
    case File::kBelowAFile:
      return ENOTDIR;
    case File::kSealed:
      return EACCES;
    case File::kText:
    case File::kFolder:
    case File::kReadOnly:
    case File::kWriteProtected:
    case File::kRunningProgram:
    case File::kFullDevice:
      return 0;
  }
  return 0;
}

int WriteError(File::Kind kind) {
  switch (kind) {
    case File::kFolder:
      return EISDIR;
    case File::kReadOnly:
      return EROFS;
    case File::kWriteProtected:
      return EACCES;
    case File::kRunningProgram:
      return ETXTBSY;
    default:
      return ReadError(kind);
  }
}

namespace {

bool HoldsText(File::Kind kind) {
  return kind == File::kText || kind == File::kReadOnly || kind == File::kWriteProtected ||
         kind == File::kRunningProgram;
}

}  // namespace

void Surroundings::Change(const Operation& operation) {
  if (operation.when.empty()) {
    Happen(operation);
  } else {
    waiting_.push_back(operation);
  }
}

void Surroundings::Happen(const Operation& operation) {
  if (operation.kind == Operation::kChangeFile) {
    files_[operation.file] = operation.state;
  } else {
    descriptors_left_ = operation.kind == Operation::kGiveDescriptors;
  }
}

int Surroundings::OpenError(const std::string& file, Way way) const {
  // The kernel allocates a descriptor before it checks the path.
  if (!descriptors_left_) {
    return EMFILE;
  }
  const auto found = files_.find(file);
  const File::Kind kind = found == files_.end() ? File::kMissing : found->second.kind;
  return way == Way::kReading ? ReadError(kind) : WriteError(kind);
}

std::string Surroundings::Content(const std::string& file) const {
  const File& state = files_.at(file);
  return HoldsText(state.kind) ? state.text : "";
}

void Surroundings::Replace(const std::string& file, const std::string& text) {
  File& state = files_.at(file);
  if (state.kind == File::kText) {
    state.text = text;
  }
}

void Surroundings::PrintLine(const std::string& text) {
  trace_.output += text + '\n';
  // A text with line breaks counts as several lines at the flush.
  std::size_t begin = 0;
  for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin)) {
    Awake(text.substr(begin, end - begin));
    begin = end + 1;
  }
  Awake(text.substr(begin));
}

void Surroundings::Awake(const std::string& line) {
  std::vector<Operation> still_waiting;
  for (const Operation& operation : waiting_) {
    if (operation.when == line) {
      Happen(operation);
    } else {
      still_waiting.push_back(operation);
    }
  }
  waiting_ = still_waiting;
}

void Surroundings::PrintValue(const char* name, const char* value) {
  trace_.output.append(name).append(" = ").append(value).append("\n");
}

void Surroundings::Call(const std::string& call) {
  trace_.calls.emplace_back(call, trace_.output.size());
}

void Surroundings::SendSuccess() {
  Call("SendSuccess");
  trace_.output += "{success}\n";
}

void Surroundings::SendError(const std::string& error, const std::string& detail) {
  Call("SendError");
  trace_.output += "{error \"" + error + "\" \"" + detail + "\"}\n";
}

Trace Surroundings::End() const {
  Trace trace = trace_;
  for (const auto& [path, file] : files_) {
    if (file.kind == File::kText) {
      trace.files[path] = file.text;
    }
  }
  return trace;
}

}  // namespace model
