#pragma once

namespace bench {

// Redirects standard output during its lifetime.
class Output {
 public:
  enum Target {
    kNull,  // /dev/null: a write costs almost nothing
    kPipe,  // like a supervisor or log collector, but read only between measurements
    kFile,  // a temporary file
  };

  explicit Output(Target target = kNull);
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  // Discards what was written: drains the pipe, truncates the file.
  void Empty() const;

 private:
  Target target_;
  int saved_;
  int reading_ = -1;  // the read end of the pipe
};

}  // namespace bench
