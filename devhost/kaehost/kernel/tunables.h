#pragma once

#include <map>
#include <string>
#include <vector>

namespace devhost {

// What reading a file gave.
struct Reading {
  std::string text;  // without its last newline
  int error = 0;     // the number of the error if it could not be read

  // Whether the kernel lets this user never read the file.
  bool is_refused() const;

  bool operator==(const Reading&) const = default;
};

// Files of the kernel, by path below /proc/sys/net ("ipv4/tcp_sack"). A file that the kernel does
// not have is left out.
using Tunables = std::map<std::string, Reading>;

// A tunable that differs between two readings; a text is empty where the tunable was not there.
struct Change {
  std::string tunable;
  std::string before;
  std::string after;
};

// A tunable that could not be read in one of two readings, so that nobody knows whether it differs.
struct Unread {
  std::string tunable;
  int error;
  bool is_refused;  // in both readings, if it was there
};

// Returns the value at the position, from 0, in the text of a tunable; empty if it has fewer
// values.
std::string ValueAt(int position, const std::string& text);

// Reads the catalogue's files as the calling thread's network namespace shows them.
Tunables ReadTunables();

// Reads the other files of the folders core, ipv4 and ipv6, as far as this user can read them.
// Leaves out what is not the same in another namespace of users.
Tunables ReadOtherTunables();

// Writes the values of another namespace into those files that this one has and that can be
// written; `here` is what reading them returns, before and after. Returns the files that then have
// other values.
std::vector<std::string> StartFrom(const Tunables& machine, Tunables& here);

// Returns what differs, in the order of the tunables' paths.
std::vector<Change> Compare(const Tunables& before, const Tunables& after);

// Returns what Compare cannot compare, in the same order.
std::vector<Unread> FindUnread(const Tunables& before, const Tunables& after);

// Writes the texts of `before` to the tunables that differ from them. What the kernel refuses,
// stays. Returns what differed.
std::vector<Change> Restore(const Tunables& before);

}  // namespace devhost
