#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace devhost {

// The kernel's network tunables as they stand: path below /proc/sys/net ("ipv4/tcp_sack") to text.
using Tunables = std::map<std::string, std::string>;

// A tunable that differs between two readings; a text is empty where the tunable was not there.
struct Change {
  std::string tunable;
  std::string before;
  std::string after;
};

// Reads one, by its path below /proc/sys/net, as the calling thread's network namespace shows it.
// Its text comes without the last newline, and empty where the file refuses to be read; none where
// there is no such file.
std::optional<std::string> ReadTunable(const std::string& tunable);

// Reads every tunable in /proc/sys/net/ipv4 and /proc/sys/net/core, but not those in the folders
// below, which belong to single interfaces and come and go with them.
Tunables ReadTunables();

// Answers what differs, in the order of the tunables' paths.
std::vector<Change> Compare(const Tunables& before, const Tunables& after);

}  // namespace devhost
