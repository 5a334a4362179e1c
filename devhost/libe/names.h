#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace devhost {

// A set of names. Nothing is allocated for a name that is already in it.
class Names {
 public:
  // Returns the set's own text, which stays where it is, and whether it is new.
  std::pair<const char*, bool> Add(std::string_view name) {
    const auto known = names_.find(name);
    return known != names_.end() ? std::pair(known->c_str(), false)
                                 : std::pair(names_.emplace(name).first->c_str(), true);
  }

  std::size_t size() const { return names_.size(); }

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const {
      return std::hash<std::string_view>()(name);
    }
  };

  std::unordered_set<std::string, Hash, std::equal_to<>> names_;
};

}  // namespace devhost
