// The table of docs/tunables.md against what the built plug-in does, and against this kernel.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "tests/docs/support/observed_catalogue.h"
#include "tests/docs/support/page.h"

namespace {

using testing::AnyOf;
using testing::Each;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

using Row = std::vector<std::string>;

// The table's columns.
enum Column { kElement, kFile, kValue, kDefault, kStart, kNamespace, kSince, kUntil, kUse };

std::vector<Row> Rows() { return Page("tunables.md").TableRows(); }

// Answers what keeps a tunable from being written, 0 for nothing.
int WriteError(const std::string& file) {
  const int descriptor = open(("/proc/sys/net/" + file).c_str(), O_WRONLY | O_CLOEXEC);
  if (descriptor < 0) {
    return errno;
  }
  close(descriptor);
  return 0;
}

TEST(TunablesPage, TellsEveryElementInTheOrderOfTheCatalogue) {
  std::vector<std::string> names;
  for (const Row& row : Rows()) {
    names.push_back(row.at(kElement));
  }
  EXPECT_THAT(names, ElementsAreArray(ObservedNames()));
}

TEST(TunablesPage, TellsFilePositionDefaultAndStartOfEachElement) {
  std::vector<Row> told;
  for (const Row& row : Rows()) {
    told.emplace_back(row.begin(), row.begin() + kStart + 1);
  }
  std::vector<Row> observed;
  for (const ObservedElement& element : ObservedCatalogue()) {
    observed.push_back(
        {element.name, element.file, element.position, element.default_value, element.start});
  }
  EXPECT_THAT(told, ElementsAreArray(observed));
}

TEST(TunablesPage, FillsEveryCell) {
  const std::vector<Row> rows = Rows();
  EXPECT_THAT(rows, Each(SizeIs(kUse + 1)));
  for (const Row& row : rows) {
    EXPECT_THAT(row, Each(Not(IsEmpty()))) << row.front();
    EXPECT_THAT(row.at(kNamespace), AnyOf("private", "global", "-")) << row.front();
  }
}

// Here, in a namespace that is not the machine's first.
TEST(TunablesPage, CallsPrivateWhatEachNamespaceCanWriteForItself) {
  for (const Row& row : Rows()) {
    EXPECT_EQ(row.at(kNamespace) == "private", WriteError(row.at(kFile)) == 0) << row.front();
  }
}

TEST(TunablesPage, CallsNothingOfTodayThatThisKernelDoesNotHave) {
  for (const Row& row : Rows()) {
    if (row.at(kNamespace) == "-") {
      EXPECT_EQ(WriteError(row.at(kFile)), ENOENT) << row.front();
      EXPECT_FALSE(row.at(kUntil).starts_with("today")) << row.front();
    } else {
      EXPECT_TRUE(row.at(kUntil).starts_with("today")) << row.front();
    }
  }
}

}  // namespace
