// The exit status for each kind of error that ends a command.

#include "devhost/kaehost/exit_status.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/plugin/plugin_error.h"
#include "devhost/libe/document.h"

using devhost::StatusFor;

TEST(ExitStatus, DependsOnTheKindOfError) {
  EXPECT_EQ(StatusFor(devhost::DocumentError("")), 2);
  EXPECT_EQ(StatusFor(devhost::PluginError("")), 3);
  EXPECT_EQ(StatusFor(devhost::NamespaceError("")), 77);
  EXPECT_EQ(StatusFor(std::runtime_error("")), 1);
  EXPECT_EQ(StatusFor(std::bad_alloc()), 1);
}
