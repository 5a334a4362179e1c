#include "tests/docs/support/page.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace {

std::string Stripped(std::string cell) {
  std::erase(cell, '`');
  const std::size_t begin = cell.find_first_not_of(' ');
  return begin == std::string::npos ? ""
                                    : cell.substr(begin, cell.find_last_not_of(' ') + 1 - begin);
}

std::vector<std::string> Cells(const std::string& row) {
  std::vector<std::string> cells;
  std::istringstream stream(row.substr(1));  // what follows the first bar
  for (std::string cell; std::getline(stream, cell, '|');) {
    cells.push_back(Stripped(cell));
  }
  return cells;
}

}  // namespace

Page::Page(const std::string& name) {
  std::ifstream file(KAETCP_DOCS "/" + name);
  for (std::string line; std::getline(file, line);) {
    lines_.push_back(line);
  }
  if (lines_.empty()) {
    throw std::runtime_error("no page " + name);
  }
}

std::string Page::text() const {
  std::string text;
  for (const std::string& line : lines_) {
    text += line + '\n';
  }
  return text;
}

std::vector<std::vector<std::string>> Page::TableRows() const {
  std::vector<std::vector<std::string>> rows;
  std::size_t head = 2;
  for (const std::string& line : lines_) {
    if (line.starts_with('|') && (head == 0 || head-- == 0)) {
      rows.push_back(Cells(line));
    }
  }
  return rows;
}

std::vector<std::string> Page::CodeLines(const std::string& kind) const {
  const std::string fence = "```";
  std::vector<std::string> code;
  auto line = lines_.begin();
  while ((line = std::find(line, lines_.end(), fence + kind)) != lines_.end()) {
    const auto end = std::find(line, lines_.end(), fence);
    std::copy_if(line + 1, end, std::back_inserter(code),
                 [](const std::string& text) { return !text.empty(); });
    line = end;
  }
  return code;
}
