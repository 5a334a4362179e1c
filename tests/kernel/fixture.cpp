#include "tests/kernel/fixture.h"

#include <sys/mount.h>

#include "devhost/kaehost/kernel/scratch_files.h"

BareKernelTest::~BareKernelTest() {
  recording_host::ResetHost();
  for (const auto& [file, text] : Changes(ReadKernel(), found)) {
    SetKernel(file, text);
  }
}

std::unique_ptr<BuiltLayer> BareKernelTest::NewLayer() {
  auto layer = std::make_unique<BuiltLayer>();
  output.Take();
  return layer;
}

bool BareKernelTest::Configure(BuiltLayer& layer, const Named& named) {
  std::vector<kaml_content*> contents;
  for (const auto& [name, value] : named) {
    contents.push_back(recording_host::Value(name, value));
  }
  recording_host::Request request;
  return layer.Configure(request, recording_host::Settings(contents));
}

bool BareKernelTest::Configure(BuiltLayer& layer, const std::string& name,
                               const std::string& value) {
  const Named named = {{name, value}};
  return Configure(layer, named);
}

KernelTest::KernelTest()
    : emulated_(devhost::MakeWritable({KernelPath("core/rmem_max"), KernelPath("core/wmem_max")})) {
}

KernelTest::~KernelTest() {
  for (const std::string& path : emulated_) {
    umount2(path.c_str(), MNT_DETACH);
  }
}
