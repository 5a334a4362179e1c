#include "tests/plugin/elf_file.h"

#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace {

std::vector<std::string> OutputLines(const std::string& command) {
  FILE* pipe = popen(("LC_ALL=C " + command).c_str(), "r");
  if (pipe == nullptr) {
    throw std::runtime_error("cannot run " + command);
  }
  std::string output;
  for (int c = std::getc(pipe); c != EOF; c = std::getc(pipe)) {
    output += static_cast<char>(c);
  }
  if (pclose(pipe) != 0) {
    throw std::runtime_error(command + " failed");
  }
  std::vector<std::string> lines;
  std::istringstream stream(output);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::vector<std::string> ReadElf(const std::string& options) {
  return OutputLines(KAETCP_READELF " --wide " + options + " '" + LoadedLibrary::Path() + "'");
}

}  // namespace

std::vector<Symbol> Symbols(const std::string& nm_options, const std::string& path) {
  std::vector<Symbol> symbols;
  for (const std::string& line :
       OutputLines(KAETCP_NM " --format=posix " + nm_options + " '" + path + "'")) {
    Symbol symbol;
    std::istringstream(line) >> symbol.name >> symbol.type >> std::hex >> symbol.address >>
        symbol.size;
    symbols.push_back(symbol);
  }
  return symbols;
}

Symbol FindSymbol(const std::string& name) {
  for (const Symbol& symbol : Symbols("--defined-only")) {
    if (symbol.name == name) {
      return symbol;
    }
  }
  throw std::runtime_error("no symbol " + name);
}

std::vector<std::string> DynamicEntries(const std::string& tag) {
  std::vector<std::string> values;
  for (const std::string& line : ReadElf("--dynamic")) {
    const std::size_t at = line.find("(" + tag + ")");
    if (at != std::string::npos) {
      values.push_back(line.substr(line.find_first_not_of(' ', at + tag.size() + 2)));
    }
  }
  return values;
}

std::vector<std::string> ProgramHeaders() {
  std::vector<std::string> names;
  for (const std::string& line : ReadElf("--program-headers")) {
    std::string name;
    std::string offset;
    if (std::istringstream(line) >> name >> offset && offset.starts_with("0x")) {
      names.push_back(name);
    }
  }
  return names;
}
