#include "tests/layer/fixture.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

CTCPSetting& OpenLayer::Find(const std::string& name) const {
  for (const auto& [key, setting] : settings_) {
    if (setting->GetName() == name) {
      return *setting;
    }
  }
  throw std::out_of_range("no setting " + name);
}

void OpenLayer::Empty() {
  for (const auto& [key, setting] : settings_) {
    delete setting;
  }
  settings_.clear();
}

Values KernelValues() {
  Values values;
  int number = 1000;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    values[setting.name] = std::to_string(number++);
  }
  return values;
}

Values StartValues() {
  Values values = KernelValues();
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (setting.starts_from_default) {
      values[setting.name] = setting.default_value;
    }
  }
  return values;
}

static std::string Lines(const Values& values, const Values& instead) {
  std::string lines;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    const auto other = instead.find(setting.name);
    lines += other != instead.end() ? other->second
                                    : setting.name + (" = " + values.at(setting.name)) + "\n";
  }
  return lines;
}

std::string SnapshotLines(const Values& values, const Values& instead) {
  return "\nreading previous config...\n" + Lines(values, instead) + "reading config done\n";
}

std::string WriteLines(const Values& values, const Values& instead) {
  return "\nwriting config...\n" + Lines(values, instead) + "config done\n";
}

std::string FileText(const std::string& file, const Values& values) {
  std::string text;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (setting.file == file) {
      text += (text.empty() ? "" : " ") + values.at(setting.name);
    }
  }
  return text;
}

LayerTest::LayerTest() {
  recording_host::ResetHost();
  GivenKernelValues();
}

void LayerTest::GivenKernelValues() {
  const Values values = KernelValues();
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    std::string text = FileText(setting.file, values);
    std::replace(text.begin(), text.end(), ' ', '\t');
    tree.Write(setting.file, text + "\n");
  }
}

std::unique_ptr<OpenLayer> LayerTest::NewLayer() {
  auto layer = std::make_unique<OpenLayer>();
  output.Take();
  return layer;
}

bool LayerTest::Configure(kaTCPLayer& layer, const kaml_content* contents) {
  return layer.do_Configure(&request, contents);
}

void LayerTest::ExpectFiles(const Values& values) const {
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (std::filesystem::symlink_status(TunableTree::Path(setting.file)).type() ==
        std::filesystem::file_type::regular) {
      EXPECT_EQ(tree.Read(setting.file), FileText(setting.file, values)) << setting.file;
    }
  }
}
