#pragma once

#include <sys/resource.h>

namespace model {

// Takes away the process's ability to open files, and restores it, at the latest in the destructor.
class Descriptors {
 public:
  Descriptors() { getrlimit(RLIMIT_NOFILE, &free_); }
  ~Descriptors() { GiveBack(); }
  Descriptors(const Descriptors&) = delete;
  Descriptors& operator=(const Descriptors&) = delete;

  // From now on, every open fails with EMFILE.
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

  // Lets the player open files during its lifetime, even if descriptors are taken.
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
