#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tests/model/predictor/catalogue.h"
#include "tests/model/predictor/surroundings.h"
#include "tests/model/scenario.h"

namespace model {

// A layer, from its creation to its release.
class Layer {
 public:
  explicit Layer(Surroundings& surroundings);

  // `answer` is what the host returns for a reply.
  bool Configure(const std::vector<Node>& document, bool answer);

  void Release();

 private:
  struct Setting {
    const Row* row;
    std::string value;
    std::string previous;
  };
  enum class Policy { kRollBack, kGoOn };

  void TakeSnapshot();
  int ReadFile(std::size_t first);  // returns the error of the open
  void SetToPrevious();
  void SetDefaults();

  bool HandleRequest(const Node& content);
  bool HandleConfig(const std::vector<Node>& children);
  void TakeChild(const Node& child);
  Setting* Find(const Node& element);

  bool WriteConfig(Policy policy);
  int WriteFile(std::size_t first);  // likewise
  std::string WriteValue(std::size_t first) const;
  bool SendFileError(const std::string& path, const std::string& error);
  void WritePrevious();

  int TypeOf(const Node& content);

  Surroundings* surroundings_;
  std::vector<Setting> settings_;
};

}  // namespace model
