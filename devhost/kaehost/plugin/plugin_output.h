#pragma once

#include <string>

namespace devhost {

// What the plug-in prints: shown as it comes, kept aside, or dropped.
class PluginOutput {
 public:
  enum Fate { kShown, kKept, kDropped };

  explicit PluginOutput(Fate fate);
  ~PluginOutput();
  PluginOutput(const PluginOutput&) = delete;
  PluginOutput& operator=(const PluginOutput&) = delete;

  // Answers what `operation` answers, in which the plug-in may print.
  template <class Operation>
  auto Of(Operation operation) {
    const Aside aside(file_);
    return operation();
  }

  // Answers what is kept.
  std::string Text() const;

 private:
  // While it lives, standard output goes to the file, if there is one.
  class Aside {
   public:
    explicit Aside(int file);
    ~Aside();
    Aside(const Aside&) = delete;
    Aside& operator=(const Aside&) = delete;

   private:
    int standard_output_ = -1;
  };

  int file_ = -1;  // where it goes instead, if it does
};

}  // namespace devhost
