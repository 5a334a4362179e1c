#include "bench/private_kernel.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <map>
#include <system_error>

#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/kernel/scratch_files.h"

namespace bench {
namespace {

std::map<std::string, std::vector<SystemCall>>& Traces() {
  static std::map<std::string, std::vector<SystemCall>> traces;
  return traces;
}

// Goes on in a child with a process namespace of its own, without which it could mount no proc file
// system. This process waits for it.
void ContinueInPrivateProcesses() {
  if (unshare(CLONE_NEWPID) != 0) {
    throw std::system_error(errno, std::generic_category(), "making a process namespace");
  }
  const pid_t child = fork();
  if (child != 0) {
    int status = EXIT_FAILURE;
    waitpid(child, &status, 0);
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE);
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
}

}  // namespace

void EnterPrivateKernel() {
  Traces() = TraceLife("kernel");
  devhost::EnterPrivateNamespace();
  ContinueInPrivateProcesses();
  MountProc();
  MakeCoreFilesWritable();
}

void MountProc() {
  if (mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0) {
    throw std::system_error(errno, std::generic_category(), "mounting a proc file system");
  }
}

void MakeCoreFilesWritable() {
  devhost::MakeWritable({"/proc/sys/net/core/rmem_max", "/proc/sys/net/core/wmem_max"});
}

const std::vector<SystemCall>& CallsOf(const std::string& step) { return Traces().at(step); }

devhost::Document TracedDocument() {
  devhost::Document document;
  kaml_content* root = document.AddElement(nullptr, "tcp-settings");
  document.AddText(document.AddElement(root, "tcp_sack"), "0");
  document.AddText(document.AddElement(root, "tcp_rmem_default"), "5000");
  return document;
}

}  // namespace bench
