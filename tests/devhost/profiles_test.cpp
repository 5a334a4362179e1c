// The profiles of examples/profiles, from files in the form of sysctl.conf to the kernel: by
// kaehost, and by the tool that such files are written for.

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/kernel/scratch_files.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using testing::HasSubstr;

namespace {

// The folder is root's, and ordinary users may do without it in their PATH.
constexpr const char* kSysctl = "PATH=$PATH:/usr/sbin:/sbin sysctl";

std::vector<std::string> Profiles() {
  std::vector<std::string> profiles;
  for (const auto& entry : std::filesystem::directory_iterator(KAETCP_EXAMPLES "/profiles")) {
    profiles.push_back(entry.path());
  }
  return profiles;
}

std::string Content(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The keys that the file names and the catalogue has, with dots.
std::set<std::string> KeysOfTheCatalogue(const std::string& profile) {
  std::set<std::string> known;
  for (const devhost::CatalogueEntry& entry : devhost::Catalogue()) {
    std::string key = std::string("net/") + entry.file;
    std::replace(key.begin(), key.end(), '/', '.');
    known.insert(key);
  }
  std::set<std::string> keys;
  std::ifstream lines(profile);
  for (std::string line; std::getline(lines, line);) {
    std::string key = line.substr(line.starts_with('-') ? 1 : 0);
    key.erase(std::min(key.find_first_of(" ="), key.size()));
    std::replace(key.begin(), key.end(), '/', '.');
    if (known.contains(key)) {
      keys.insert(key);
    }
  }
  return keys;
}

// A command that prints the tunables that are there, one a line.
std::string ReadCommand(const std::set<std::string>& keys) {
  std::string command = std::string(kSysctl) + " --ignore";
  for (const std::string& key : keys) {
    command += ' ' + key;
  }
  return command;
}

// What a shell command prints in a fresh namespace, whose core files can be written.
std::string InAFreshNamespace(const std::string& command) {
  const OutputFile out;
  const pid_t child = fork();
  if (child == 0) {
    devhost::EnterPrivateNamespace();
    if (access("/proc/sys/vm/swappiness", W_OK) == 0) {
      _exit(126);  // some profiles name tunables that the machine has only once
    }
    devhost::MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
    dup2(out.fd(), STDOUT_FILENO);
    execlp("sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0) << command;
  return out.Text();
}

std::string WithoutItsFirstLine(const std::string& text) {
  return text.substr(text.find('\n') + 1);
}

}  // namespace

TEST(Profiles, LeaveTheKernelAsTheToolForThemDoes) {
  const TempFolder folder;
  const std::string document = folder.Path("document.xml");
  for (const std::string& profile : Profiles()) {
    const Outcome import = Kaehost({"import", "--output", document, profile});
    ASSERT_LE(import.status, 1) << import.err;
    const std::set<std::string> keys = KeysOfTheCatalogue(profile);
    ASSERT_GT(keys.size(), 5U) << profile;

    EXPECT_EQ(Kaehost({"check", document}).out, "kaehost: " + document + ": no findings\n");

    const std::string read = ReadCommand(keys);
    const Outcome apply = Kaehost(
        {"apply", "--quiet", document, "--", "sh", "-c", "echo; echo under the settings; " + read});
    EXPECT_EQ(apply.status, 0) << apply.out << apply.err;
    const std::size_t ours = apply.out.find("under the settings\n");
    ASSERT_NE(ours, std::string::npos) << apply.out;

    const std::string theirs = InAFreshNamespace(std::string(kSysctl) + " -p '" + profile +
                                                 "' >/dev/null 2>&1; echo; " + read);
    EXPECT_EQ(WithoutItsFirstLine(apply.out.substr(ours)), WithoutItsFirstLine(theirs)) << profile;
    EXPECT_THAT(theirs, HasSubstr("net.ipv4.tcp_"));
    EXPECT_NE(theirs, InAFreshNamespace("echo; " + read)) << profile << " changes nothing";
  }
}

// On the kernel that runs this test, and on those that refuse receive buffers below a page.
TEST(Profiles, AreTakenByTheKernelAndByStricterOnes) {
  constexpr int kPage = 4096;
  int buffers = 0;
  const TempFolder folder;
  const std::string document = folder.Path("document.xml");
  for (const std::string& profile : Profiles()) {
    ASSERT_LE(Kaehost({"import", "--output", document, profile}).status, 1) << profile;
    const Outcome apply = Kaehost({"apply", "--quiet", document});
    EXPECT_EQ(apply.status, 0) << profile << '\n' << apply.out << apply.err;
    const std::string text = Content(document);
    const std::regex buffer("<(tcp_rmem_\\w+)>(\\d+)<");
    for (std::sregex_iterator found(text.begin(), text.end(), buffer), end; found != end; ++found) {
      ++buffers;
      EXPECT_GE(std::stoi((*found)[2]), kPage) << profile << ": " << (*found)[1];
    }
  }
  EXPECT_GT(buffers, 0);
}

TEST(Profiles, AreOfManyKinds) { EXPECT_GE(Profiles().size(), 8U); }
