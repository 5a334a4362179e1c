#pragma once

#include <map>
#include <string>
#include <vector>

// Sees every opening for writing of a file of the catalogue, whoever opens it and whatever is
// written: also one that writes what the file held already.
class WriteWatch {
 public:
  WriteWatch();
  ~WriteWatch();
  WriteWatch(const WriteWatch&) = delete;
  WriteWatch& operator=(const WriteWatch&) = delete;

  // Answers the files ("ipv4/tcp_sack") that were open for writing and have been closed since the
  // last call, in order.
  std::vector<std::string> Take();

 private:
  void Add(const std::string& file);

  int events_;
  std::map<int, std::string> watched_;
};
