#pragma once

namespace bench {

// Lets standard output lead elsewhere while it lives.
class Output {
 public:
  enum Target {
    kNull,  // /dev/null: a write costs next to nothing
    kPipe,  // as to a supervisor or a log collector, which reads when nothing is measured
    kFile,  // a file in the folder for temporary ones
  };

  explicit Output(Target target = kNull);
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  // Forgets what was written: a pipe is read empty, a file is cut off.
  void Empty() const;

 private:
  Target target_;
  int saved_;
  int reading_ = -1;  // a pipe's other end
};

}  // namespace bench
