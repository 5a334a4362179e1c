// What is said of each value, from what a document asked for and what the kernel had and has.

#include "devhost/kaehost/apply/outcomes.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <optional>
#include <string>
#include <vector>

#include "devhost/libe/document.h"
#include "tests/devhost/support/temp_folder.h"

using devhost::Asked;
using devhost::CatalogueValues;
using devhost::Document;
using devhost::Outcome;
using devhost::OutcomesOf;
using devhost::Value;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

using Text = std::optional<std::string>;

constexpr std::size_t kElement = 2;  // an element of the catalogue, whichever

// A value of the table below.
struct State : Value {
  State(const char* read) : Value{.text = read} {}
  State(std::nullopt_t /*no file*/) {}
  State(const Value& value) : Value(value) {}
};

CatalogueValues With(const State& value) {
  CatalogueValues values(devhost::Catalogue().size(), State("1"));
  values[kElement] = value;
  return values;
}

struct Case {
  Text asked;
  State start;
  State before;
  State now;
  bool success;
  const char* word;  // empty where there is nothing to say
};

constexpr std::nullopt_t kNone = std::nullopt;
const Value kLost = {.text = {}, .is_unread = true};
const Value kElsewhere = {.text = {}, .is_machine_only = true};
const Value kRefused = {.text = {}, .is_unread = true, .is_refused = true};

// Formatted by hand: a line, a case.
// clang-format off
const std::vector<Case> kCases = {
    {"5", "1", "1", "5", true, "applied"},
    {"0x3c", "1", "1", "60", true, "applied"},
    {"017", "1", "1", "15", true, "applied"},
    {"-2", "1", "1", "-2", true, "applied"},
    {" 5\n", "1", "1", "5", true, "applied"},
    {"+5", "1", "1", "+5", true, "applied"},
    {"bic", "1", "1", "bic", true, "applied"},
    {"5", "1", kNone, "5", true, "applied"},
    {"5", "5", "5", "5", true, "unchanged"},
    {"0x5", "5", "5", "5", true, "unchanged"},
    {"5", "1", "5", "5", true, "unchanged"},
    {"20 30", "1", "1", "20", true, "adjusted"},
    {"7", "1", "1", "5", true, "adjusted"},
    {"7", "1", "5", "1", true, "adjusted"},
    {"7", "1", "1", kNone, true, "adjusted"},
    {"cubic", "reno", "reno", "bic", true, "adjusted"},
    {"7", "1", "1", "1", true, "rejected"},
    {"08", "8", "8", "8", true, "rejected"},
    {"+1", "1", "1", "1", true, "rejected"},
    {"1\r", "1", "1", "1", true, "rejected"},
    {"18446744073709551615", "1", "1", "-1", true, "adjusted"},
    {"1x", "1", "1", "1", true, "rejected"},
    {"1 1", "1", "1", "1", true, "rejected"},
    {"", "0", "0", "0", true, "rejected"},
    {" ", "0", "0", "0", true, "rejected"},
    {"99999999999999999999", "1", "1", "9223372036854775807", true, "adjusted"},
    {"0xffffffffffffffff", "1", "1", "18446744073709551615", true, "applied"},
    {"5", kNone, kNone, kNone, true, "missing"},
    {"5", kNone, kNone, kNone, false, "missing"},
    {"5", kElsewhere, kElsewhere, kElsewhere, true, "machine-only"},
    {"5", kElsewhere, kElsewhere, kElsewhere, false, "machine-only"},
    {kNone, kElsewhere, kElsewhere, kElsewhere, true, ""},
    {"5", "1", "1", "1", false, "restored"},
    {"5", "1", "3", "1", false, "restored"},
    {kNone, "1", "3", "1", false, "restored"},
    {"5", "1", "1", "5", false, "applied"},
    {"5", "1", "3", "3", false, "rejected"},
    {"5", "1", "3", "4", false, "adjusted"},
    {"5", "1", "1", kLost, true, "unread"},
    {"5", "1", kLost, "5", true, "unread"},
    {"5", kLost, kLost, kLost, true, "unread"},
    {"5", kRefused, kRefused, kRefused, true, "unread"},
    {"5", kNone, kNone, kLost, true, "unread"},
    {"5", kLost, kLost, kLost, false, "unread"},
    {kNone, "1", "1", kLost, true, "unread"},
    {kNone, "1", kLost, "1", true, "unread"},
    {kNone, kLost, kLost, kLost, true, "unread"},
    {kNone, kRefused, kRefused, kRefused, true, ""},
    {kNone, "1", "1", "2", false, "overridden"},
    {kNone, "1", "1", "2", true, "overridden"},
    {kNone, "1", "2", "1", true, "overridden"},
    {kNone, "1", "1", "1", true, ""},
    {kNone, "1", "2", "2", true, ""},
    {kNone, "1", "1", "1", false, ""},
    {kNone, kNone, kNone, kNone, true, ""},
};
// clang-format on

std::string Shown(const Text& text) { return text ? '"' + *text + '"' : "none"; }

std::string Shown(const State& state) {
  return state.is_machine_only ? "elsewhere"
         : state.is_refused    ? "refused"
         : state.is_unread     ? "unread"
                               : Shown(state.text);
}

class WhatIsAsked : public testing::Test {
 protected:
  Asked Of(const std::string& xml) const {
    const Document document = Document::Read(folder_.Write("document.xml", xml));
    return devhost::WhatIsAsked(document.contents());
  }

  const TempFolder folder_;
};

}  // namespace

TEST(Outcomes, HaveAWordForEachCase) {
  const std::string element = devhost::Catalogue()[kElement].element;
  for (const Case& c : kCases) {
    Asked asked;
    if (c.asked) {
      asked[element] = *c.asked;
    }
    const std::vector<Outcome> outcomes =
        OutcomesOf(asked, With(c.start), With(c.before), With(c.now), c.success);
    const std::string word = outcomes.empty() ? "" : WordFor(outcomes.front().fate);
    EXPECT_EQ(word, c.word) << Shown(c.asked) << " asked, " << Shown(c.start) << " at first, "
                            << Shown(c.before) << " before, " << Shown(c.now) << " now, "
                            << (c.success ? "success" : "error");
    EXPECT_LE(outcomes.size(), 1U);
  }
}

TEST(Outcomes, CarryWhatTheyAreAbout) {
  const std::vector<Outcome> outcomes =
      OutcomesOf({{"tcp_abort_on_overflow", "7"}}, With("1"), With("2"), With("3"), true);
  ASSERT_EQ(outcomes.size(), 1U);
  EXPECT_EQ(outcomes[0].entry->element, std::string("tcp_abort_on_overflow"));
  EXPECT_EQ(outcomes[0].asked, "7");
  EXPECT_EQ(outcomes[0].before, "2");
  EXPECT_EQ(outcomes[0].now, "3");
}

TEST(Outcomes, AreCountedByTheirFates) {
  CatalogueValues now = With("1");
  now[3] = now[5] = State("2");
  const std::vector<Outcome> outcomes =
      OutcomesOf({{"rmem_max", "1"}}, With("1"), With("1"), now, true);
  EXPECT_THAT(CountFates(outcomes),
              ElementsAre(Pair(devhost::Fate::kUnchanged, 1), Pair(devhost::Fate::kOverridden, 2)));
}

TEST(Outcomes, TellAFileThatCannotBeReadFromOneThatIsNotThere) {
  const CatalogueValues values =
      devhost::CatalogueValuesOf({{"core/rmem_max", {"", EMFILE}}, {"core/wmem_max", {"", EACCES}}},
                                 {{"core/rmem_max", {"1"}},
                                  {"ipv4/tcp_adv_win_scale", {"1"}},
                                  {"ipv4/tcp_app_win", {"", EIO}}});
  EXPECT_EQ(values[0], kLost);
  EXPECT_EQ(values[1], kRefused);
  EXPECT_EQ(values[2], Value());
  EXPECT_EQ(values[3], kElsewhere);
  EXPECT_EQ(values[4], kElsewhere);
}

TEST(Outcomes, ReadEachValueFromItsPlaceInTheFile) {
  const CatalogueValues values = devhost::CatalogueValuesOf(devhost::ReadTunables(), {});
  std::size_t i = 0;
  for (const devhost::CatalogueEntry& entry : devhost::Catalogue()) {
    const std::string element = entry.element;
    if (element == "tcp_bic") {
      EXPECT_EQ(values[i], Value());
    } else if (element == "tcp_port_min") {
      EXPECT_EQ(values[i].text, "32768");
    } else if (element == "tcp_port_max") {
      EXPECT_EQ(values[i].text, "60999");
    } else if (element == "tcp_sack") {
      EXPECT_EQ(values[i].text, "1");
    }
    ++i;
  }
  EXPECT_EQ(values.size(), i);
}

TEST_F(WhatIsAsked, IsTheLastTextOfEachElement) {
  EXPECT_THAT(Of("<tcp-settings><tcp_sack>0</tcp_sack><tcp_ecn> 1 </tcp_ecn>"
                 "<tcp_sack>2</tcp_sack></tcp-settings>"),
              ElementsAre(Pair("tcp_ecn", " 1 "), Pair("tcp_sack", "2")));
}

TEST_F(WhatIsAsked, IsNotWhatThePluginPassesOver) {
  EXPECT_THAT(Of("<tcp-settings>words<tcp_sak>0</tcp_sak><tcp_sack/><tcp_ecn></tcp_ecn>"
                 "<tcp_fack><!-- off -->0</tcp_fack><tcp_frto><b>2</b></tcp_frto></tcp-settings>"),
              IsEmpty());
}

TEST_F(WhatIsAsked, IsTheFirstTextOfAnElement) {
  EXPECT_THAT(Of("<tcp-settings><tcp_sack>0<!-- off -->1</tcp_sack></tcp-settings>"),
              ElementsAre(Pair("tcp_sack", "0")));
}

TEST_F(WhatIsAsked, IsNothingBelowAForeignRoot) {
  EXPECT_THAT(Of("<udp-settings><tcp_sack>0</tcp_sack></udp-settings>"), IsEmpty());
}

TEST_F(WhatIsAsked, IsBehindCommentsToo) {
  EXPECT_THAT(Of("<!-- ours --><tcp-settings><tcp_sack>0</tcp_sack></tcp-settings>"),
              ElementsAre(Pair("tcp_sack", "0")));
}

TEST_F(WhatIsAsked, IsNothingBehindAForeignRoot) {
  Document document;
  document.AddElement(nullptr, "udp-settings");
  kaml_content* root = document.AddElement(nullptr, "tcp-settings");
  document.AddText(document.AddElement(root, "tcp_sack"), "0");
  EXPECT_THAT(devhost::WhatIsAsked(document.contents()), IsEmpty());
}
