#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace devhost {

// The catalogue's files as they stand in the kernel: path below /proc/sys/net ("ipv4/tcp_sack") to
// text, those left out that are not there.
using Tunables = std::map<std::string, std::string>;

// A tunable that differs between two readings; a text is empty where the tunable was not there.
struct Change {
  std::string tunable;
  std::string before;
  std::string after;
};

// Reads them as the calling thread's network namespace shows them. A text comes without its last
// newline, and empty where the file refuses to be read.
Tunables ReadTunables();

// Answers what differs, in the order of the tunables' paths.
std::vector<Change> Compare(const Tunables& before, const Tunables& after);

}  // namespace devhost
