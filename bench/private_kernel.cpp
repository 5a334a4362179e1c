#include "bench/private_kernel.h"

#include <map>

#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/kernel/scratch_files.h"

namespace bench {
namespace {

std::map<std::string, std::vector<SystemCall>>& Traces() {
  static std::map<std::string, std::vector<SystemCall>> traces;
  return traces;
}

}  // namespace

void EnterPrivateKernel() {
  Traces() = TraceLife("kernel");
  devhost::EnterPrivateNamespace();
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
