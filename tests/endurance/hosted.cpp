#include "tests/endurance/hosted.h"

#include "tests/support/catalogue.h"

HostedLayer::HostedLayer()
    : layer_(dynamic_cast<kaeCPLayerFactory&>(*this_kae_plugin).GetNewLayer()) {}

void HostedLayer::Release() {
  if (layer_ != nullptr) {
    As<kaeCPLayer::ReleaseCB>().do_Release();
    layer_ = nullptr;
  }
}

Values DistinctValues(const std::string& prefix) {
  Values values;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    values[setting.name] = prefix + std::to_string(values.size());
  }
  return values;
}

Values StartingValues(const Values& snapshot) {
  Values values = snapshot;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (setting.starts_from_default) {
      values[setting.name] = setting.default_value;
    }
  }
  return values;
}

Values With(const Values& values, const Values& named) {
  Values both = named;
  both.insert(values.begin(), values.end());
  return both;
}

Files FilesOf(const Values& values) {
  Files files;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    const bool is_child = setting.container[0] != '\0';
    files[setting.file] += (is_child ? " " : "") + values.at(setting.name);
  }
  return files;
}

void Fill(TunableTree& tree, const Files& files) {
  for (const auto& [file, text] : files) {
    tree.Write(file, text);
  }
}

std::string WrongFile(const TunableTree& tree, const Files& files) {
  for (const auto& [file, text] : files) {
    const std::string found = tree.Read(file);
    if (found != text) {
      return file + " holds \"" + found + "\" in place of \"" + text + '"';
    }
  }
  return "";
}

kaml_content* AddSettings(devhost::Document& document, const Values& values) {
  kaml_content* settings = document.AddElement(nullptr, "tcp-settings");
  for (const auto& [name, value] : values) {
    document.AddText(document.AddElement(settings, name.c_str()), value.c_str());
  }
  return settings;
}

devhost::Document SettingsDocument(const Values& values) {
  devhost::Document document;
  AddSettings(document, values);
  return document;
}
