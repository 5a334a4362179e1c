#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/model/scenario.h"

namespace model {

// The error of opening a file of this kind, 0 if it opens.
int ReadError(File::Kind kind);
int WriteError(File::Kind kind);

// The kernel, the host and standard output, as far as a layer uses them. Records what happens, and
// makes the changes that wait for a line.
class Surroundings {
 public:
  enum class Way { kReading, kWriting };

  explicit Surroundings(const Scenario& scenario) : files_(scenario.files) {}

  // Makes a change now, or at the line that it waits for.
  void Change(const Operation& operation);

  // The error of an open, 0 if it succeeds. `file` is a path below /proc/sys/net.
  int OpenError(const std::string& file, Way way) const;

  // For files that can be opened for this.
  std::string Content(const std::string& file) const;
  void Replace(const std::string& file, const std::string& text);

  // Prints a line through std::cout, and makes the changes that wait for it.
  void PrintLine(const std::string& text);

  // Prints a line through printf, which stops at a NUL. No change can wait for it.
  void PrintValue(const char* name, const char* value);

  // Records a call of the host. The replies are also part of the output.
  void Call(const std::string& call);
  void SendSuccess();
  void SendError(const std::string& error, const std::string& detail);

  void Answer(bool result) { trace_.results.push_back(result); }

  Trace End() const;

 private:
  void Happen(const Operation& operation);
  void Awake(const std::string& line);

  std::map<std::string, File> files_;
  bool descriptors_left_ = true;
  std::vector<Operation> waiting_;
  Trace trace_;
};

}  // namespace model
