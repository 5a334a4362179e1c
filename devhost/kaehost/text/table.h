#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "devhost/kaehost/text/colour.h"

namespace devhost {

// A table of texts with aligned columns. A long text is cut, control characters are shown, and an
// empty text is shown as "(empty)".
class Table {
 public:
  explicit Table(std::vector<std::string> titles);

  void Add(std::vector<std::string> texts, std::optional<Colour> colour = {});

  // Prints the titles and the rows, or nothing if there are no rows.
  void Print(std::ostream& out) const;

 private:
  struct Row {
    std::vector<std::string> texts;
    std::optional<Colour> colour;
  };

  std::vector<Row> rows_;
};

}  // namespace devhost
