#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/tunables.h"

namespace devhost {

// The values that the tunables had before a session, with what the session was. Its text is for
// people too:
//
//   kaehost journal 1
//   boot 6ffa9b7d-7e2a-4c6d-9d4c-5c1f3a0e7d11
//   namespace 4:4026531840
//   cookie 1
//   option --live
//   process 1234
//   started 2026-11-22T02:10:11Z
//   uptime 5021
//   core/rmem_max 212992
//   ipv4/tcp_sack 1
//   ...
//   end 8c1d7c3f8d0a9be2
struct Journal {
  std::string boot;       // the kernel's boot id
  std::string network;    // device and inode of the network namespace
  std::string cookie;     // of the network namespace; "none" before Linux 5.14
  std::string option;     // of the session: "--live", or "--netns " and the name or path
  long long process = 0;  // that made the journal
  std::string started;    // UTC
  long long uptime = 0;   // seconds from boot to start; the clock of a device can be set later
  Tunables tunables;      // those of the catalogue that could be read
};

// Returns the journal of a session that this process starts now in its network namespace. Throws
// NamespaceError.
Journal NewJournal(const std::string& option, Tunables before);

// Returns the seconds since the system started.
long long Uptime();

// Returns the device and inode of a network namespace, by default the calling thread's. The kernel
// can use the inode again after the namespace ends. Throws NamespaceError.
std::string NetworkAt(const std::string& path = "/proc/self/ns/net");

std::string TextOf(const Journal& journal);

// Returns the journal of a text that TextOf returned. Throws std::runtime_error with what is wrong
// for any other text.
Journal ParseJournal(const std::string& text);

// Returns what the tunables must be. Those that are not in the journal are as they are now: a
// session does not write tunables that were not there when it started.
Tunables WantedBy(const Journal& journal, Tunables now);

// Returns the tunables that differ from the journal, also those that cannot be read now.
std::vector<Change> DifferencesFrom(const Journal& journal);

// Throws NamespaceError if the journal in the file `path` is of an earlier boot.
void RefuseEarlierBoot(const Journal& journal, const std::string& path);

// Throws NamespaceError if the journal is of another network namespace than the calling thread's.
void RefuseOtherNamespace(const Journal& journal, const std::string& path);

}  // namespace devhost
