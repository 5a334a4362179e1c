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

// The kernel as it is in a private namespace, where core/rmem_max and core/wmem_max are read-only
// or missing. Standard output is captured, and what a test changes is undone after it.
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

// The same with the core files that are read-only made writable: scratch files with their contents
// lie over them. They are the only emulated ones.
class KernelTest : public BareKernelTest {
 protected:
  KernelTest();
  ~KernelTest() override;

 private:
  const std::vector<std::string> emulated_;
};
