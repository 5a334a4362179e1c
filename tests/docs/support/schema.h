#pragma once

#include <memory>
#include <string>
#include <vector>

// The schema of configuration documents, in its XML form and as libxml2 understands it.
class Schema {
 public:
  // Throws std::runtime_error when there is no valid schema at `path`.
  explicit Schema(const std::string& path);
  ~Schema();
  Schema(const Schema&) = delete;
  Schema& operator=(const Schema&) = delete;

  // Whether the document, given as its text, is valid. Throws std::runtime_error when it is no XML.
  bool Allows(const std::string& document) const;

  struct Element {
    std::string name;
    std::string documentation;
  };

  // The elements that the schema speaks of, in its order; the first is the root.
  const std::vector<Element>& elements() const { return elements_; }

 private:
  struct Grammar;

  std::vector<Element> elements_;
  std::unique_ptr<const Grammar> grammar_;
};
