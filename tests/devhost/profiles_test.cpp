// The profiles of examples/profiles, from files in the form of sysctl.conf to the kernel: by
// kaehost, and by the tool that such files are written for.

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "devhost/kaehost/catalogue.h"
#include "devhost/kaehost/sandbox.h"
#include "tests/devhost/kaehost.h"
#include "tests/devhost/temp_folder.h"

using testing::HasSubstr;

namespace {

std::vector<std::string> Profiles() {
  std::vector<std::string> profiles;
  for (const auto& entry : std::filesystem::directory_iterator(KAETCP_EXAMPLES "/profiles")) {
    profiles.push_back(entry.path());
  }
  return profiles;
}

// A command that prints the tunables of the elements, one a line, as the tool reads them.
std::string ReadCommand(const nlohmann::json& elements) {
  std::set<std::string> keys;
  for (const auto& [element, value] : elements.items()) {
    std::string key = std::string("net/") + devhost::FindInCatalogue(element)->file;
    std::replace(key.begin(), key.end(), '/', '.');
    keys.insert(key);
  }
  std::string command = "sysctl --ignore";
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
    const Outcome import = Kaehost({"import", "--json", "--output", document, profile});
    ASSERT_LE(import.status, 1) << import.err;
    const nlohmann::json elements = nlohmann::json::parse(import.out)["elements"];
    ASSERT_GT(elements.size(), 5U) << profile;

    EXPECT_EQ(Kaehost({"check", document}).out, "kaehost: " + document + ": nothing to mend\n");

    const std::string read = ReadCommand(elements);
    const Outcome apply = Kaehost(
        {"apply", "--quiet", document, "--", "sh", "-c", "echo; echo under the settings; " + read});
    EXPECT_EQ(apply.status, 0) << apply.out << apply.err;
    const std::size_t ours = apply.out.find("under the settings\n");
    ASSERT_NE(ours, std::string::npos) << apply.out;

    const std::string theirs =
        InAFreshNamespace("sysctl -p " + profile + " >/dev/null 2>&1; echo; " + read);
    EXPECT_EQ(WithoutItsFirstLine(apply.out.substr(ours)), WithoutItsFirstLine(theirs)) << profile;
    EXPECT_THAT(theirs, HasSubstr("net.ipv4.tcp_"));
  }
}

TEST(Profiles, AreOfManyKinds) { EXPECT_GE(Profiles().size(), 8U); }
