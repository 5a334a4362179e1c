#pragma once

#include <string>
#include <vector>

// A page of docs/, as text and taken apart.
class Page {
 public:
  // Throws std::runtime_error when there is no page `name`, "tunables.md".
  explicit Page(const std::string& name);

  // The lines, each with its end.
  std::string text() const;

  // The cells of each row of the page's only table, without head, blanks and backquotes.
  std::vector<std::vector<std::string>> TableRows() const;

  // The lines of all fenced blocks that are marked with `kind`, "text", in order and without empty
  // ones.
  std::vector<std::string> CodeLines(const std::string& kind) const;

 private:
  std::vector<std::string> lines_;
};
