#pragma once

#include <iosfwd>
#include <map>
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

// Reads every tunable under /proc/sys/net/ipv4 and /proc/sys/net/core, as the calling thread's
// network namespace shows them. Texts come without their last newline, and empty where a file
// refuses to be read.
Tunables ReadTunables();

// Answers what differs, in the order of the tunables' paths.
std::vector<Change> Compare(const Tunables& before, const Tunables& after);

// Prints a table with the columns tunable, before and after; the values of a file are separated by
// one blank.
void PrintTable(std::ostream& out, const std::vector<Change>& changes);

}  // namespace devhost
