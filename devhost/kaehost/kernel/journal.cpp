#include "devhost/kaehost/kernel/journal.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <utility>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/kernel/file_descriptor.h"
#include "devhost/kaehost/kernel/namespaces.h"

namespace devhost {
namespace {

constexpr const char* kFirstLine = "kaehost journal 1\n";

std::string BootId() {
  constexpr const char* kPath = "/proc/sys/kernel/random/boot_id";
  std::string id;
  if (!(std::ifstream(kPath) >> id)) {
    throw NamespaceError(std::string(kPath) + ": cannot read; mount /proc");
  }
  return id;
}

// The kernel gives no two network namespaces of a boot the same cookie.
std::string Cookie() {
#ifdef SO_NETNS_COOKIE
  const FileDescriptor file(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  std::uint64_t cookie = 0;
  socklen_t size = sizeof cookie;
  if (getsockopt(file.get(), SOL_SOCKET, SO_NETNS_COOKIE, &cookie, &size) == 0) {
    return std::to_string(cookie);
  }
#endif
  return "none";
}

std::string Now() {
  const std::time_t now = std::time(nullptr);
  std::tm utc = {};
  gmtime_r(&now, &utc);
  std::ostringstream text;
  text << std::put_time(&utc, "%Y-%m-%dT%H:%M:%SZ");
  return text.str();
}

// FNV-1a: every byte that is changed changes it.
std::string Checksum(const std::string& text) {
  std::uint64_t sum = 0xcbf29ce484222325U;
  for (const char byte : text) {
    sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
  }
  std::ostringstream hexadecimal;
  hexadecimal << std::hex << std::setw(16) << std::setfill('0') << sum;
  return hexadecimal.str();
}

bool IsFileOfCatalogue(const std::string& name) {
  const auto entries = Catalogue();
  return std::any_of(entries.begin(), entries.end(),
                     [&name](const CatalogueEntry& entry) { return entry.file == name; });
}

}  // namespace

Journal NewJournal(const std::string& option, Tunables before) {
  std::erase_if(before, [](const auto& tunable) { return tunable.second.error != 0; });
  return {.boot = BootId(),
          .network = NetworkAt(),
          .cookie = Cookie(),
          .option = option,
          .process = getpid(),
          .started = Now(),
          .uptime = Uptime(),
          .tunables = std::move(before)};
}

long long Uptime() {
  timespec uptime = {};
  clock_gettime(CLOCK_BOOTTIME, &uptime);
  return uptime.tv_sec;
}

std::string NetworkAt(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) {
    throw NamespaceError(path + ": " + std::strerror(errno));
  }
  return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
}

std::string TextOf(const Journal& journal) {
  std::ostringstream text;
  text << kFirstLine << "boot " << journal.boot << "\nnamespace " << journal.network << "\ncookie "
       << journal.cookie << "\noption " << journal.option << "\nprocess " << journal.process
       << "\nstarted " << journal.started << "\nuptime " << journal.uptime << '\n';
  for (const auto& [name, reading] : journal.tunables) {
    text << name << ' ' << reading.text << '\n';
  }
  return text.str() + "end " + Checksum(text.str()) + '\n';
}

// Whatever is not read here is missing in the text of the result, which is compared at the end.
Journal ParseJournal(const std::string& text) {
  if (!text.starts_with(kFirstLine)) {
    throw std::runtime_error("not a journal that this version of kaehost knows");
  }
  Journal journal;
  std::map<std::string, std::string> fields;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t space = std::min(line.find(' '), line.size());
    const std::string name = line.substr(0, space);
    const std::string value = line.substr(std::min(space + 1, line.size()));
    if (IsFileOfCatalogue(name)) {
      journal.tunables[name] = {value};
    } else {
      fields[name] = value;
    }
  }
  journal.boot = fields["boot"];
  journal.network = fields["namespace"];
  journal.cookie = fields["cookie"];
  journal.option = fields["option"];
  journal.process = std::atoll(fields["process"].c_str());
  journal.started = fields["started"];
  journal.uptime = std::atoll(fields["uptime"].c_str());
  if (TextOf(journal) != text) {
    throw std::runtime_error("damaged or incomplete");
  }
  return journal;
}

Tunables WantedBy(const Journal& journal, Tunables now) {
  Tunables wanted = journal.tunables;
  wanted.merge(now);
  return wanted;
}

std::vector<Change> DifferencesFrom(const Journal& journal) {
  const Tunables now = ReadTunables();
  const Tunables wanted = WantedBy(journal, now);
  std::vector<Change> differences = Compare(wanted, now);
  for (const Unread& unread : FindUnread(wanted, now)) {
    if (const auto found = journal.tunables.find(unread.tunable); found != journal.tunables.end()) {
      differences.push_back({unread.tunable, found->second.text,
                             std::string("cannot be read: ") + std::strerror(unread.error)});
    }
  }
  return differences;
}

void RefuseEarlierBoot(const Journal& journal, const std::string& path) {
  if (journal.boot != BootId()) {
    throw NamespaceError(path + ": a journal from before the last boot of this machine; delete it");
  }
}

void RefuseOtherNamespace(const Journal& journal, const std::string& path) {
  if (journal.network != NetworkAt() || journal.cookie != Cookie()) {
    throw NamespaceError(path +
                         ": the journal of another network namespace, which had the same number "
                         "and does not exist any more; delete it");
  }
}

}  // namespace devhost
