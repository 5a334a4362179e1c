// The lines that a change can wait for.

#include <cerrno>
#include <cstring>
#include <iterator>

#include "tests/model/generator/generate.h"
#include "tests/model/predictor/surroundings.h"
#include "tests/support/catalogue.h"

namespace model {
namespace {

std::string Path(const std::string& file) { return "/proc/sys/net/" + file; }

// A line that reports a file as one that cannot be opened, also for a file that normally can be.
std::string LineOfAFile(Choices& choices, const std::map<std::string, File>& files) {
  const std::string& name = choices.Of(TunableFiles());
  std::string file = name;
  File::Kind kind = File::kMissing;
  if (!files.empty() && choices.OneIn(2)) {
    const auto index = static_cast<std::ptrdiff_t>(choices.Below(files.size()));
    file = std::next(files.begin(), index)->first;
  }
  if (const auto named = files.find(file); named != files.end()) {
    kind = named->second.kind;
  }
  const int read_error = choices.OneIn(8) ? EMFILE : ReadError(kind);
  const int write_error = choices.OneIn(8) ? EMFILE : WriteError(kind);
  if (choices.OneIn(3)) {
    return "error opening stream for read -  file [" + Path(file) +
           "]; error: " + std::strerror(read_error);
  }
  if (write_error == ENOENT) {
    return "file [" + Path(file) + "]; does not exist. Skipped.";
  }
  return choices.OneIn(2) ? "file write error: [" + Path(file) + "]: " + std::strerror(write_error)
                          : "error opening stream for write - file [" + Path(file) +
                                "]; error: " + std::strerror(write_error);
}

}  // namespace

std::string GenerateLine(Choices& choices, const std::map<std::string, File>& files) {
  static const std::vector<std::string> kLines = {
      "writing config...",
      "config done",
      "reading previous config...",
      "reading config done",
      "setting to previous values",
      "received TCP_Settings command",
      "Unknown element: ",
      "Unknown element: tcp_sack",
      "Content not text. Element: tcp_sack",
      "Setting new value - tcp_sack = 0",
      "Setting new value - tcp_sack = 5",
      "Setting new value - tcp_sack = ",
      "Setting new value - tcp_ecn = 0",
      "Setting new value - tcp_ecn = ",
      "2",  // the rest of a line that a line break in a value has split
  };
  return choices.OneIn(3) ? choices.Of(kLines) : LineOfAFile(choices, files);
}

}  // namespace model
