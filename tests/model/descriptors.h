#pragma once

#include <sys/resource.h>

namespace model {

// The process's right to open anything: taken and given back, at the latest when this object ends.
class Descriptors {
 public:
  Descriptors() { getrlimit(RLIMIT_NOFILE, &free_); }
  ~Descriptors() { GiveBack(); }
  Descriptors(const Descriptors&) = delete;
  Descriptors& operator=(const Descriptors&) = delete;

  // Every open fails with EMFILE from here on.
  void Take() {
    taken_ = true;
    Set(0);
  }

  void GiveBack() {
    if (taken_) {
      taken_ = false;
      Set(free_.rlim_cur);
    }
  }

  // Lets the story's teller open files although they are taken.
  class Loan {
   public:
    explicit Loan(Descriptors& descriptors) : descriptors_(descriptors), lent_(descriptors.taken_) {
      descriptors_.GiveBack();
    }
    ~Loan() {
      if (lent_) {
        descriptors_.Take();
      }
    }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

   private:
    Descriptors& descriptors_;
    bool lent_;
  };

 private:
  void Set(rlim_t count) const {
    const rlimit limit = {count, free_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &limit);
  }

  rlimit free_ = {};
  bool taken_ = false;
};

}  // namespace model
