// The exit status for each kind of error that ends a command.

#include "devhost/kaehost/exit_status.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <stdexcept>
#include <system_error>

#include "devhost/kaehost/kernel/namespaces.h"
#include "devhost/kaehost/plugin/plugin_error.h"
#include "devhost/kaehost/process/interruption.h"
#include "devhost/libe/document.h"

using devhost::SentenceOf;
using devhost::StatusFor;

TEST(ExitStatus, DependsOnTheKindOfError) {
  EXPECT_EQ(StatusFor(devhost::DocumentError("")), 2);
  EXPECT_EQ(StatusFor(devhost::PluginError("")), 3);
  EXPECT_EQ(StatusFor(devhost::NamespaceError("")), 77);
  EXPECT_EQ(StatusFor(devhost::Interrupted(2)), 130);
  EXPECT_EQ(StatusFor(std::runtime_error("")), 1);
  EXPECT_EQ(StatusFor(std::bad_alloc()), 1);
  EXPECT_EQ(StatusFor(std::bad_alloc(), devhost::kBadInput), 2);
  EXPECT_EQ(StatusFor(devhost::PluginError(""), devhost::kBadInput), 3);
}

TEST(ExitStatus, HasASentenceForEachKindOfMissingMemory) {
  EXPECT_EQ(SentenceOf(std::bad_alloc()), devhost::kOutOfMemory);
  EXPECT_EQ(SentenceOf(std::system_error(ENOMEM, std::generic_category(), "x")),
            devhost::kOutOfMemory);
  EXPECT_EQ(SentenceOf(std::system_error(EIO, std::generic_category(), "x")),
            "x: Input/output error");
}
