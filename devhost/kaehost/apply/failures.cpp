#include "devhost/kaehost/apply/failures.h"

#include <CLI/Error.hpp>
#include <algorithm>
#include <optional>
#include <system_error>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/kernel/obstacles.h"
#include "devhost/kaehost/text/numbers.h"
#include "devhost/kaehost/text/output.h"
#include "devhost/kaehost/text/quoting.h"

namespace devhost {
namespace {

constexpr const char* kFolder = "/proc/sys/net/";

bool IsFileOfCatalogue(const std::string& file) {
  return std::any_of(Catalogue().begin(), Catalogue().end(),
                     [&file](const CatalogueEntry& entry) { return entry.file == file; });
}

[[noreturn]] void Refuse(const std::string& option, const std::string& sentence) {
  throw CLI::ValidationError("--fail: " + Quoted(option) + ": " + sentence);
}

int ErrorNamed(const std::string& name, const std::string& option) {
  std::string names;
  for (const OpenError& error : OpenErrors()) {
    if (error.name == name) {
      return error.number;
    }
    names += (names.empty() ? "" : ", ") + std::string(error.name);
  }
  Refuse(option, "the error must be one of " + names);
}

}  // namespace

Failure ReadFailure(const std::string& option) {
  constexpr unsigned long long kMostTimes = 1'000'000;
  const std::size_t equals = option.find('=');
  const std::size_t colon = std::min(option.find(':'), option.size());
  if (equals == std::string::npos || colon < equals) {
    Refuse(option, "write FILE=ERROR or FILE=ERROR:N, such as ipv4/tcp_sack=EACCES:2");
  }
  Failure failure = {.option = option, .file = option.substr(0, equals)};
  if (!IsFileOfCatalogue(failure.file)) {
    Refuse(option, "not a file of the catalogue; 'kaehost list ELEMENT' shows an element's file");
  }
  failure.error = ErrorNamed(option.substr(equals + 1, colon - equals - 1), option);
  if (colon < option.size()) {
    const std::optional<Integer> time = ReadInteger(option.substr(colon + 1));
    if (!time || time->is_negative || time->magnitude == 0 || time->magnitude > kMostTimes) {
      Refuse(option, "the number after ':' must be from 1 to " + std::to_string(kMostTimes));
    }
    failure.time = static_cast<int>(time->magnitude);
  }
  return failure;
}

FailingFiles::FailingFiles(const std::vector<Failure>& failures) {
  for (const Failure& failure : failures) {
    files_.emplace_back().failure = failure;
  }
}

int FailingFiles::Open(const std::string& path, const std::function<int()>& open) {
  Counted* failing = nullptr;
  for (Counted& file : files_) {
    if (path == kFolder + file.failure.file) {
      ++file.openings;
      if (file.failure.time == 0 || file.failure.time == file.openings) {
        failing = &file;
      }
    }
  }
  if (failing == nullptr) {
    return open();
  }
  try {
    const int result = OpenBehindObstacle(failing->failure.error, path, open);
    failing->has_happened = failing->has_happened || result == -failing->failure.error;
    return result;
  } catch (const std::system_error& error) {
    failing->refusal = error.what();
    return open();
  }
}

void FailingFiles::TellRest() const {
  for (const Counted& file : files_) {
    if (!file.has_happened) {
      TellError("--fail " + file.failure.option + ": did not happen; " +
                (!file.refusal.empty() ? file.refusal
                                       : "the plug-in opened " + (kFolder + file.failure.file) +
                                             ' ' + std::to_string(file.openings) +
                                             (file.openings == 1 ? " time" : " times")));
    }
  }
}

}  // namespace devhost
