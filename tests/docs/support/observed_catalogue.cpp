#include "tests/docs/support/observed_catalogue.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>

#include "tests/plugin/loaded_plugin.h"
#include "tests/support/host.h"
#include "tests/support/output.h"
#include "tests/support/tunable_tree.h"

namespace fs = std::filesystem;

namespace {

using recording_host::Settings;
using recording_host::Value;

using Words = std::vector<std::string>;
using Files = std::map<std::string, Words>;  // by their path below /proc/sys/net

Files ReadFiles() {
  Files files;
  for (const auto& entry : fs::recursive_directory_iterator(TunableTree::Path(""))) {
    if (entry.is_regular_file()) {
      std::ifstream stream(entry.path());
      files[entry.path().lexically_relative(TunableTree::Path(""))] = {
          std::istream_iterator<std::string>(stream), {}};
    }
  }
  return files;
}

// What is in the files after a layer that found `before` there has served one document.
Files AfterARequest(const Files& before, const Words& named) {
  const TunableTree tree;
  for (const auto& [name, words] : before) {
    std::ofstream stream(TunableTree::Path(name));
    std::copy(words.begin(), words.end(), std::ostream_iterator<std::string>(stream, "\t"));
  }
  const CapturedOutput output;
  const LoadedLibrary library;
  const Layer layer(dynamic_cast<kaeCPLayerFactory&>(*library.plugin()).GetNewLayer());
  std::vector<kaml_content*> elements;
  for (const std::string& name : named) {
    elements.push_back(Value(name, "of-" + name));
  }
  recording_host::Request request;
  dynamic_cast<kaeCPLayer::ConfigureCB&>(*layer).do_Configure(&request, Settings(elements));
  return ReadFiles();
}

Files WithEachValue(Files files, const std::string& value) {
  for (auto& [name, words] : files) {
    std::fill(words.begin(), words.end(), value);
  }
  return files;
}

struct Place {
  std::string file;
  std::size_t index;
};

Place PlaceOf(const std::string& element, const Files& named) {
  for (const auto& [name, words] : named) {
    const auto word = std::find(words.begin(), words.end(), "of-" + element);
    if (word != words.end()) {
      return {name, static_cast<std::size_t>(word - words.begin())};
    }
  }
  throw std::runtime_error("no file received the value of " + element);
}

}  // namespace

std::vector<std::string> ObservedNames() {
  const NewHost host;
  AfterARequest({}, {});
  const std::string intern = "kaml_intern ";
  std::vector<std::string> names;
  for (const std::string& call : recording_host::Calls()) {
    if (call.starts_with(intern)) {
      names.push_back(call.substr(intern.size()));
    }
  }
  if (names.empty() || names.front() != "tcp-settings") {
    throw std::runtime_error("the first name is not that of the document");
  }
  names.erase(names.begin());
  return names;
}

std::vector<ObservedElement> ObservedCatalogue() {
  const std::vector<std::string> names = ObservedNames();
  const NewHost host;
  const Files named = AfterARequest({}, names);
  const Files defaults = AfterARequest({}, {});
  const Files over_odd = AfterARequest(WithEachValue(named, "odd"), {});
  std::vector<ObservedElement> elements;
  for (const std::string& name : names) {
    const auto [file, index] = PlaceOf(name, named);
    elements.push_back(
        {name, file, std::to_string(index + 1) + " of " + std::to_string(named.at(file).size()),
         defaults.at(file).at(index), over_odd.at(file).at(index) == "odd" ? "kernel" : "default"});
  }
  return elements;
}
