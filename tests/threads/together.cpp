#include "tests/threads/together.h"

#include <cstddef>
#include <exception>
#include <latch>
#include <thread>
#include <vector>

void Together(int count, const std::function<void(int number)>& work) {
  std::latch start(count);
  std::vector<std::exception_ptr> failures(static_cast<std::size_t>(count));
  std::vector<std::thread> threads;
  for (int number = 0; number < count; ++number) {
    threads.emplace_back([&, number] {
      try {
        start.arrive_and_wait();
        work(number);
      } catch (...) {
        failures[static_cast<std::size_t>(number)] = std::current_exception();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const std::exception_ptr& failure : failures) {
    if (failure != nullptr) {
      std::rethrow_exception(failure);
    }
  }
}
