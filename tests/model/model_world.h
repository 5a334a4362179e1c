#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/model/scenario.h"

namespace model {

// What opening a file of this kind fails with, 0 where it opens.
int ReadError(File::Kind kind);
int WriteError(File::Kind kind);

// The kernel, the host and standard output, as far as a layer meets them. Keeps the record of what
// is seen, and lets happen what waits for a line.
class World {
 public:
  enum class Way { kReading, kWriting };

  explicit World(const Scenario& scenario) : files_(scenario.files) {}

  // Lets a change of the world happen, now or at the line that it waits for.
  void Change(const Operation& operation);

  // The error of an open, 0 when it succeeds. `file` is a path below /proc/sys/net.
  int OpenError(const std::string& file, Way way) const;

  // For files that open that way.
  std::string Content(const std::string& file) const;
  void Replace(const std::string& file, const std::string& text);

  // A line on the standard output stream: those who wait for it have their turn.
  void PrintLine(const std::string& text);

  // A line of the formatted print, which stops at a NUL and for which nobody can wait.
  void PrintValue(const char* name, const char* value);

  // A call of the host, and the two that the host shows.
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
