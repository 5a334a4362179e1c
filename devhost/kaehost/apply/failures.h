#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace devhost {

// A tunable that fails to open, as --fail says.
struct Failure {
  std::string option;  // "ipv4/tcp_sack=EACCES:2"
  std::string file;    // below /proc/sys/net
  int error = 0;
  int time = 0;  // the opening that fails, from 1; 0 for all
};

// Returns the failure for an option. Throws CLI::ValidationError with a sentence.
Failure ReadFailure(const std::string& option);

// Opens the files of a session by `Open`, behind obstacles if `failures` say so.
class FailingFiles {
 public:
  explicit FailingFiles(const std::vector<Failure>& failures);

  // Calls `open`, which opens the file at `path`, and returns what it returns.
  int Open(const std::string& path, const std::function<int()>& open);

  // Prints on standard error each failure that did not happen.
  void TellRest() const;

 private:
  struct Counted {
    Failure failure;
    int openings = 0;
    bool has_happened = false;
    std::string refusal;  // why there could be no obstacle, empty if there could
  };

  std::vector<Counted> files_;
};

}  // namespace devhost
