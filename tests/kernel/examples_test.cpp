// The documents of examples/, each delivered by the development host to the plug-in as it was
// built.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/scratch_files.h"
#include "devhost/libe/document.h"
#include "devhost/libe/request.h"
#include "tests/kernel/built_layer.h"
#include "tests/kernel/expected.h"
#include "tests/kernel/kernel.h"
#include "tests/support/output.h"

namespace {

using devhost::Document;
using testing::IsEmpty;

// The documents' file names.
std::vector<std::string> ExampleFiles() {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(KAETCP_EXAMPLES)) {
    if (entry.is_regular_file()) {
      files.push_back(entry.path().filename());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string CaseName(const testing::TestParamInfo<std::string>& info) {
  std::string name = info.param.substr(0, info.param.find('.'));
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

// Answers the elements among a content and its next ones.
std::vector<const kaml_content*> Elements(const kaml_content* content) {
  std::vector<const kaml_content*> elements;
  for (; content != nullptr; content = kaml_cont_next(content)) {
    if (kaml_cont_type(content) == devhost::kElement) {
      elements.push_back(content);
    }
  }
  return elements;
}

Named NamedValues(const Document& document) {
  Named named;
  for (const kaml_content* root : Elements(document.contents())) {
    for (const kaml_content* element : Elements(kaml_elem_contents(root))) {
      const kaml_content* value = kaml_elem_contents(element);
      named.emplace_back(kaml_elem_name(element), value != nullptr ? kaml_text(value) : "");
    }
  }
  return named;
}

class Example : public testing::TestWithParam<std::string> {
 protected:
  Example() { devhost::MakeWritable({KernelPath("core/rmem_max"), KernelPath("core/wmem_max")}); }

  const Document document = Document::Read(KAETCP_EXAMPLES "/" + GetParam());
  const Named named = NamedValues(document);
  CapturedOutput output;
};

TEST_P(Example, NamesSettingsOfTheCatalogueAndNoneTwice) {
  std::map<std::string, int> allowed;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    allowed[setting.name] = 1;
  }
  for (const auto& [name, value] : named) {
    EXPECT_EQ(allowed[name]--, 1) << name;
  }
}

TEST_P(Example, NamesAllThatWouldFallBackToTheirBuiltInDefault) {
  const std::map<std::string, std::string> values(named.begin(), named.end());
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    EXPECT_TRUE(!setting.starts_from_default || values.contains(setting.name)) << setting.name;
  }
}

TEST_P(Example, IsTakenByTheKernelValueByValueAndGoesWithTheLayer) {
  const KernelState before = ReadKernel();
  BuiltLayer layer;
  devhost::Request request;
  EXPECT_TRUE(layer.Configure(request, document.contents()));
  EXPECT_EQ(request.reply(), devhost::Reply::kSuccess);
  const std::map<std::string, std::string> values(named.begin(), named.end());
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (values.contains(setting.name) && KernelHas(setting.file)) {
      EXPECT_EQ(Words(KernelText(setting.file)).at(WordIndex(setting)), values.at(setting.name))
          << setting.name;
    }
  }
  layer.Release();
  EXPECT_THAT(Changes(before, ReadKernel()), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Documents, Example, testing::ValuesIn(ExampleFiles()), CaseName);

TEST(Examples, AreThere) { EXPECT_THAT(ExampleFiles(), testing::Not(IsEmpty())); }

}  // namespace
