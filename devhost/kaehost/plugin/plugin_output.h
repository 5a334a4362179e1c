#pragma once

#include <cstddef>
#include <string>

namespace devhost {

// What the plug-in prints on standard output, in the order in which it prints it, whether by
// std::cout, printf or write. One object at a time.
class PluginOutput {
 public:
  enum Fate {
    kShown,    // it goes to standard output immediately
    kHeld,     // it is kept for Take; what is left is shown if the plug-in ends the process
    kKept,     // it is kept for Text
    kDropped,  // it is not kept
  };

  explicit PluginOutput(Fate fate);
  ~PluginOutput();
  PluginOutput(const PluginOutput&) = delete;
  PluginOutput& operator=(const PluginOutput&) = delete;

  // Returns what `operation` returns. The plug-in may print in it.
  template <class Operation>
  auto Of(Operation operation) {
    const Aside aside(*this);
    return operation();
  }

  // Returns all that is kept.
  std::string Text() const { return TextFrom(0); }

  // Returns what is kept and was not yet taken.
  std::string Take();

  // For a plug-in that ends the process: shows what is held.
  static void ShowWhatIsHeld();

 private:
  // During its lifetime, standard output goes to the file, if there is one.
  class Aside {
   public:
    explicit Aside(PluginOutput& output);
    ~Aside();
    Aside(const Aside&) = delete;
    Aside& operator=(const Aside&) = delete;

   private:
    PluginOutput& output_;
  };

  std::string TextFrom(std::size_t begin) const;
  void RestoreStandardOutput();

  const Fate fate_;
  int file_ = -1;             // where it goes instead, if it does
  int standard_output_ = -1;  // while it goes there, what standard output was
  std::size_t taken_ = 0;
};

}  // namespace devhost
