#include "tests/kernel/expected.h"

#include <cerrno>
#include <cstring>
#include <functional>

namespace {

bool HasOwnFile(const ExpectedSetting& setting) { return setting.container[0] == '\0'; }

std::string Lines(const Values& values,
                  const std::function<std::string(const ExpectedSetting&)>& trouble) {
  std::string lines;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    const std::string notice = HasOwnFile(setting) ? trouble(setting) : "";
    lines += notice.empty() ? setting.name + (" = " + values.at(setting.name)) : notice;
    lines += '\n';
  }
  return lines;
}

std::string ReadTrouble(const ExpectedSetting& setting) {
  return KernelHas(setting.file)
             ? ""
             : "error opening stream for read -  file [/proc/sys/net/" + std::string(setting.file) +
                   "]; error: No such file or directory";
}

std::string WriteTrouble(const ExpectedSetting& setting) {
  const std::string path = "[/proc/sys/net/" + std::string(setting.file) + "]";
  switch (const int error = WriteOpenError(setting.file)) {
    case 0:
      return "";
    case ENOENT:
      return "file " + path + "; does not exist. Skipped.";
    default:
      return "error opening stream for write - file " + path + "; error: " + std::strerror(error);
  }
}

}  // namespace

Values Snapshot() {
  Values values;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    values[setting.name] = KernelHas(setting.file)
                               ? Words(KernelText(setting.file)).at(WordIndex(setting))
                               : setting.default_value;
  }
  return values;
}

Values FirstRequest(const Values& snapshot, const Named& named) {
  Values values(named.begin(), named.end());
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    values.emplace(setting.name,
                   setting.starts_from_default ? setting.default_value : snapshot.at(setting.name));
  }
  return values;
}

std::vector<ExpectedSetting> PresentSettings() {
  std::vector<ExpectedSetting> present;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (HasOwnFile(setting) && KernelHas(setting.file)) {
      present.push_back(setting);
    }
  }
  return present;
}

std::size_t WordIndex(const ExpectedSetting& setting) {
  std::size_t index = 0;
  for (const ExpectedSetting& other : ExpectedCatalogue()) {
    if (std::string(other.name) == setting.name) {
      break;
    }
    index += std::string(other.file) == setting.file ? 1U : 0U;
  }
  return index;
}

std::string SnapshotLines(const Values& values) {
  return "\nreading previous config...\n" + Lines(values, ReadTrouble) + "reading config done\n" +
         "\nsetting to previous values\n";
}

std::string WriteLines(const Values& values) {
  return "\nwriting config...\n" + Lines(values, WriteTrouble) + "config done\n";
}

std::string RollbackLines(const Values& values) {
  return "\nsetting to previous values\n" + WriteLines(values);
}

std::string ReceivedLines(const Named& named) {
  std::string lines = "received TCP_Settings command\n";
  for (const auto& [name, value] : named) {
    lines += "Setting new value - ";
    lines += name + " = ";
    lines += value + '\n';
  }
  return lines;
}
