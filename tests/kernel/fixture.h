#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/kernel/built_layer.h"
#include "tests/kernel/expected.h"
#include "tests/kernel/kernel.h"
#include "tests/support/host.h"
#include "tests/support/output.h"

// The kernel as it is in a private namespace, where core/rmem_max and core/wmem_max are read-only.
// Standard output is captured, and what a test changes is undone after it.
class BareKernelTest : public testing::Test {
 protected:
  ~BareKernelTest() override;

  // Constructs a layer and forgets its lines.
  std::unique_ptr<BuiltLayer> NewLayer();

  // Delivers the values as one "tcp-settings" and answers the result of do_Configure.
  bool Configure(BuiltLayer& layer, const Named& named = {});
  bool Configure(BuiltLayer& layer, const std::string& name, const std::string& value);

  const KernelState found = ReadKernel();
  CapturedOutput output;
};

// The same with both core files made writable: scratch files with their contents lie over them.
// They are the only emulated ones.
class KernelTest : public BareKernelTest {
 protected:
  KernelTest();
  ~KernelTest() override;
};

inline const std::vector<std::string> kCoreFiles = {"core/rmem_max", "core/wmem_max"};

// Lays the scratch files, and takes one away again.
void MakeCoreFilesWritable();
void Uncover(const std::string& file);
