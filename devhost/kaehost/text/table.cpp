#include "devhost/kaehost/text/table.h"

#include <algorithm>
#include <ostream>

#include "devhost/kaehost/text/quoting.h"

namespace devhost {
namespace {

std::string Cell(const std::string& text) {
  constexpr std::size_t kLongest = 60;
  return text.empty() ? "(empty)" : Shown(text, kLongest);
}

}  // namespace

Table::Table(std::vector<std::string> titles) {
  rows_.push_back({std::move(titles), std::nullopt});
}

void Table::Add(std::vector<std::string> texts, std::optional<Colour> colour) {
  std::transform(texts.begin(), texts.end(), texts.begin(), Cell);
  rows_.push_back({std::move(texts), colour});
}

void Table::Print(std::ostream& out) const {
  if (rows_.size() == 1) {
    return;
  }
  std::vector<std::size_t> widths(rows_.front().texts.size());
  for (const Row& row : rows_) {
    for (std::size_t i = 0; i < widths.size(); ++i) {
      widths[i] = std::max(widths[i], row.texts[i].size());
    }
  }
  widths.back() = 0;  // the last column needs no padding
  for (const Row& row : rows_) {
    std::string line;
    for (std::size_t i = 0; i < widths.size(); ++i) {
      line += "  " + row.texts[i];
      line.append(std::max(widths[i], row.texts[i].size()) - row.texts[i].size(), ' ');
    }
    out << (row.colour ? Painted(line, *row.colour) : line) << '\n';
  }
}

}  // namespace devhost
