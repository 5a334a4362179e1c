#include "devhost/kaehost/spelling.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <vector>

#include "devhost/kaehost/kernel/catalogue.h"

namespace devhost {
namespace {

constexpr std::size_t kLongestName = 64;
constexpr std::size_t kFarthest = 3;  // letters that differ from the name that was meant

// Returns how many letters to insert, remove or replace to make one name from the other.
std::size_t Distance(std::string_view one, std::string_view other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (const char letter : one) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t replaced = diagonal + (letter == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

// Returns the name as the catalogue writes names: in lower case, and without a prefix such as an
// XML prefix or "net.ipv4.".
std::string Plain(std::string_view name) {
  std::string plain(name.substr(name.find_last_of(".:") + 1));
  std::transform(plain.begin(), plain.end(), plain.begin(), [](unsigned char letter) {
    return letter == '-' ? '_' : static_cast<char>(std::tolower(letter));
  });
  return plain;
}

// Returns the elements of the tunable with this name.
std::string ElementsOfFile(std::string_view name) {
  std::string elements;
  for (const CatalogueEntry& entry : Catalogue()) {
    const std::string_view file = entry.file;
    if (file.substr(file.find('/') + 1) == name) {
      elements += (elements.empty() ? "" : ", ") + std::string(entry.element);
    }
  }
  return elements;
}

std::string Nearest(std::string_view name) {
  const auto distance = [name](const CatalogueEntry& entry) {
    return Distance(name, entry.element);
  };
  const auto nearest = std::min_element(
      Catalogue().begin(), Catalogue().end(),
      [&](const auto& one, const auto& other) { return distance(one) < distance(other); });
  const std::size_t farthest = std::min(kFarthest, name.size() / 3);
  return distance(*nearest) <= farthest ? nearest->element : "";
}

}  // namespace

std::string AboutUnknownElement(std::string_view name, const std::string& otherwise) {
  std::string meant;
  if (name.size() <= kLongestName) {
    const std::string plain = Plain(name);
    meant = ElementsOfFile(plain);
    meant = meant.empty() ? Nearest(plain) : meant;
  }
  return meant.empty() ? "unknown element; " + otherwise
                       : "unknown element; did you mean " + meant + "?";
}

}  // namespace devhost
