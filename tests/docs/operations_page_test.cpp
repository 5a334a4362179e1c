// The lines and replies that docs/operations.md tells, against those of a played life.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "tests/docs/support/page.h"
#include "tests/docs/support/played_life.h"
#include "tests/plugin/loaded_plugin.h"

namespace {

using testing::IsEmpty;
using testing::Not;

using Texts = std::vector<std::string>;

// The expression for what a quoted line stands for, its capital words being what varies.
std::regex Matching(const std::string& quoted) {
  std::string expression = std::regex_replace(quoted, std::regex(R"([.[\]()\\])"), R"(\$&)");
  for (const auto& [word, text] :
       std::vector<std::pair<const char*, const char*>>{{"NAME", "[\\w#]*"},
                                                        {"VALUE", ".*"},
                                                        {"PATH", "/proc/sys/net/[^ ]+"},
                                                        {"ERROR", "[A-Z][^\\[\\]{}]+"}}) {
    expression = std::regex_replace(expression, std::regex(word), text);
  }
  return std::regex(expression);
}

// Those of `quoted` that stand for none of `texts`.
Texts Unmatched(const Texts& quoted, const Texts& texts) {
  Texts unmatched;
  std::copy_if(quoted.begin(), quoted.end(), std::back_inserter(unmatched),
               [&](const std::string& line) {
                 return std::none_of(texts.begin(), texts.end(),
                                     [expression = Matching(line)](const std::string& text) {
                                       return std::regex_match(text, expression);
                                     });
               });
  return unmatched;
}

// Those of `texts` that none of `quoted` stands for.
Texts Untold(const Texts& texts, const Texts& quoted) {
  std::vector<std::regex> expressions;
  std::transform(quoted.begin(), quoted.end(), std::back_inserter(expressions), Matching);
  Texts untold;
  std::copy_if(
      texts.begin(), texts.end(), std::back_inserter(untold), [&](const std::string& text) {
        return std::none_of(expressions.begin(), expressions.end(),
                            [&](const std::regex& regex) { return std::regex_match(text, regex); });
      });
  return untold;
}

class OperationsPage : public testing::Test {
 protected:
  const Page page{"operations.md"};
  const PlayedLife life = PlayLife();
};

TEST_F(OperationsPage, QuotesOnlyLinesThatArePrinted) {
  const Texts quoted = page.CodeLines("text");
  EXPECT_THAT(quoted, Not(IsEmpty()));
  EXPECT_THAT(Unmatched(quoted, life.lines), IsEmpty());
}

TEST_F(OperationsPage, QuotesEveryKindOfLineThatIsPrinted) {
  EXPECT_THAT(life.lines, Not(IsEmpty()));
  EXPECT_THAT(Untold(life.lines, page.CodeLines("text")), IsEmpty());
}

TEST_F(OperationsPage, QuotesTheRepliesAndNoOthers) {
  const Texts quoted = page.CodeLines("reply");
  EXPECT_THAT(life.replies, Not(IsEmpty()));
  EXPECT_THAT(Unmatched(quoted, life.replies), IsEmpty());
  EXPECT_THAT(Untold(life.replies, quoted), IsEmpty());
}

TEST_F(OperationsPage, QuotesAsUnseenWhatThePluginKnowsAndDoesNotPrint) {
  const Texts quoted = page.CodeLines("text unseen");
  EXPECT_EQ(Unmatched(quoted, life.lines), quoted);
  std::ifstream file(LoadedLibrary::Path(), std::ios::binary);
  const std::string library((std::istreambuf_iterator<char>(file)), {});
  EXPECT_THAT(quoted, Not(IsEmpty()));
  for (const std::string& line : quoted) {
    EXPECT_TRUE(library.find(line.substr(0, line.find("PATH"))) != std::string::npos) << line;
  }
}

}  // namespace
