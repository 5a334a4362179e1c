// What kaehost knows of the catalogue against what the built plug-in does.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/catalogue.h"
#include "tests/docs/support/observed_catalogue.h"

namespace {

using testing::ElementsAreArray;
using Row = std::vector<std::string>;

TEST(KaehostCatalogue, HasWhatThePluginDoes) {
  std::vector<Row> observed;
  for (const ObservedElement& element : ObservedCatalogue()) {
    observed.push_back(
        {element.name, element.file, element.position, element.default_value, element.start});
  }
  std::map<std::string, int> values_in;
  for (const devhost::CatalogueEntry& entry : devhost::Catalogue()) {
    ++values_in[entry.file];
  }
  std::vector<Row> known;
  for (const devhost::CatalogueEntry& entry : devhost::Catalogue()) {
    known.push_back(
        {entry.element, entry.file,
         std::to_string(entry.position + 1) + " of " + std::to_string(values_in[entry.file]),
         entry.default_value, entry.imposed ? "default" : "kernel"});
  }
  EXPECT_THAT(known, ElementsAreArray(observed));
}

TEST(KaehostCatalogue, FindsEveryElementAndNoOther) {
  for (const devhost::CatalogueEntry& entry : devhost::Catalogue()) {
    EXPECT_EQ(devhost::FindInCatalogue(entry.element), &entry);
  }
  EXPECT_EQ(devhost::FindInCatalogue("tcp_sak"), nullptr);
  EXPECT_EQ(devhost::FindInCatalogue("tcp_mem"), nullptr);
  EXPECT_EQ(devhost::FindInCatalogue(""), nullptr);
}

}  // namespace
