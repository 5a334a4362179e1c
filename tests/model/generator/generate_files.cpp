// Random files, their texts, and the lines that report them.

#include "tests/model/generator/generate.h"
#include "tests/support/catalogue.h"
#include "tests/support/obstacles.h"

namespace model {
namespace {

using namespace std::string_literals;

std::string OddText(Choices& choices) {
  static const std::vector<std::string> kTexts = {
      "",
      " ",
      "\n",
      " \t\r\n\v\f",
      " 7 ",
      "1\n2",
      "%s%n%d",
      "\0"s,
      "1\0002 3"s,
      "4096\t87380\t174760\n",
      "  87380\n",
      "4096 \v\f\r 16384",
      "9 8 7 6 surplus words\n",
      "\xc3\xa4 \xe2\x82\xac",
      "a_word_much_longer_than_any_value_and_than_a_string_holds_within_itself",
      "config done",
  };
  return choices.Of(kTexts);
}

// A few bytes of any value.
std::string AnyText(Choices& choices) {
  std::string text(choices.Below(12), ' ');
  for (char& character : text) {
    character = static_cast<char>(choices.Below(256));
  }
  return text;
}

std::string Number(Choices& choices) { return std::to_string(choices.Below(200000)); }

}  // namespace

const std::vector<std::string>& TunableFiles() {
  static const std::vector<std::string> files = [] {
    std::vector<std::string> names;
    for (const ExpectedSetting& setting : ExpectedCatalogue()) {
      if (*setting.container == '\0') {
        names.emplace_back(setting.file);
      }
    }
    return names;
  }();
  return files;
}

std::string GenerateValue(Choices& choices) {
  switch (choices.Below(8)) {
    default:
      return Number(choices);
    case 3:
      return Number(choices) + choices.Of({" ", "\t", "  \n"}) + Number(choices) + "\t" +
             Number(choices) + "\n";
    case 4:
    case 5:
      return OddText(choices);
    case 6:
      return AnyText(choices);
    case 7:
      // The longest are rare: one takes as long to play as a hundred others.
      return std::string(choices.OneIn(100)  ? std::size_t{1} << 20U
                         : choices.OneIn(10) ? std::size_t{10000}
                                             : std::size_t{300},
                         choices.Of({'5', ' ', '\n', 'x'}));
  }
}

File GenerateFile(Choices& choices) {
  const auto kind = choices.Of({File::kText, File::kMissing, File::kFolder, File::kText,
                                File::kLoop, File::kSocket, File::kText, File::kBelowAFile,
                                File::kReadOnly, File::kWriteProtected, File::kSealed,
                                File::kRunningProgram, File::kFullDevice, File::kText});
  switch (kind) {
    case File::kText:
    case File::kReadOnly:
    case File::kWriteProtected:
      return {kind, GenerateValue(choices)};
    case File::kRunningProgram:
      return {kind, RunningProgram()};
    default:
      return {kind, ""};
  }
}

}  // namespace model
