// Documents that are built content by content, and the one table of names.

#include "devhost/libe/document.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <latch>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/devhost/support/nodes.h"
#include "tests/devhost/support/small_stack.h"

using devhost::Document;
using testing::Each;
using testing::ElementsAre;
using testing::Eq;
using testing::IsEmpty;

namespace {

constexpr std::size_t kMany = 50'000;

// Interns many texts, beginning with the one of number `first`, and answers their pointers in the
// order of their numbers.
std::vector<const char*> InternMany(std::size_t first = 0) {
  std::vector<const char*> names(kMany);
  for (std::size_t i = 0; i < kMany; ++i) {
    const std::size_t number = (first + i) % kMany;
    names[number] = kaml_intern(("many-" + std::to_string(number)).c_str());
  }
  return names;
}

}  // namespace

TEST(Document, IsEmptyAtFirst) { EXPECT_EQ(Document().contents(), nullptr); }

TEST(Document, KeepsTheOrderInWhichContentsAreAdded) {
  Document document;
  document.AddText(nullptr, "1");
  kaml_content* a = document.AddElement(nullptr, "a");
  kaml_content* b = document.AddElement(a, "b");
  document.AddOther(nullptr, devhost::kComment);
  document.AddText(a, "2");
  document.AddOther(b, devhost::kProcessingInstruction);
  EXPECT_THAT(Nodes(document.contents()),
              ElementsAre("'1'", "a", "  b", "    (instruction)", "  '2'", "(comment)"));
}

TEST(Document, CopiesTextsAndInternsNames) {
  Document document;
  std::string text = "before";
  const kaml_content* a = document.AddElement(nullptr, text.c_str());
  const kaml_content* b = document.AddText(nullptr, text.c_str());
  text = "after";
  EXPECT_EQ(kaml_elem_name(a), kaml_intern("before"));
  EXPECT_STREQ(kaml_text(b), "before");
}

TEST(Document, ContentThatIsNoElementHasNoNameAndNoContents) {
  Document document;
  for (const kaml_content* content :
       {document.AddText(nullptr, "x"), document.AddOther(nullptr, devhost::kComment)}) {
    EXPECT_EQ(kaml_elem_name(content), nullptr);
    EXPECT_EQ(kaml_elem_contents(content), nullptr);
  }
}

TEST(Document, OfAHundredThousandLevelsNeedsNoStack) {
  OnASmallStack([] {
    Document document;
    kaml_content* deepest = nullptr;
    for (int i = 0; i < 100'000; ++i) {
      deepest = document.AddElement(deepest, "a");
    }
    int levels = 0;
    for (const kaml_content* c = document.contents(); c != nullptr; c = kaml_elem_contents(c)) {
      ++levels;
    }
    EXPECT_EQ(levels, 100'000);
  });
}

TEST(Document, OfAMillionSiblingsNeedsNoStack) {
  OnASmallStack([] {
    Document document;
    for (int i = 0; i < 1'000'000; ++i) {
      document.AddElement(nullptr, "a");
    }
    int siblings = 0;
    for (const kaml_content* c = document.contents(); c != nullptr; c = kaml_cont_next(c)) {
      ++siblings;
    }
    EXPECT_EQ(siblings, 1'000'000);
  });
}

TEST(Document, ContentsStayWhereTheyAreWhenItIsMoved) {
  Document document;
  kaml_content* a = document.AddElement(nullptr, "a");
  Document constructed = std::move(document);
  constructed.AddText(a, "1");
  Document assigned;
  assigned.AddText(nullptr, "lost");
  assigned = std::move(constructed);
  assigned.AddElement(nullptr, "b");
  EXPECT_EQ(assigned.contents(), a);
  EXPECT_THAT(Nodes(assigned.contents()), ElementsAre("a", "  '1'", "b"));
}

TEST(Document, IsEmptyAndUsableAfterItWasMovedFrom) {
  Document document;
  document.AddElement(nullptr, "a");
  const Document moved = std::move(document);
  // What is left of a document is promised, unlike that of other types.
  EXPECT_THAT(Nodes(document.contents()), IsEmpty());  // NOLINT(bugprone-use-after-move)
  document.AddElement(nullptr, "b");
  EXPECT_THAT(Nodes(document.contents()), ElementsAre("b"));
  EXPECT_THAT(Nodes(moved.contents()), ElementsAre("a"));
}

TEST(Interning, GivesOnePointerForEqualTexts) {
  const std::string text = "tcp_sack";
  const char elsewhere[] = "tcp_sack";
  EXPECT_EQ(kaml_intern(text.c_str()), kaml_intern(elsewhere));
  EXPECT_NE(kaml_intern("tcp_sack"), kaml_intern("tcp_dsack"));
  EXPECT_STREQ(kaml_intern("tcp_sack"), "tcp_sack");
  EXPECT_STREQ(kaml_intern(""), "");
}

TEST(Interning, GivesAllThreadsTheSamePointers) {
  std::vector<std::vector<const char*>> names(8);
  std::latch start(8);
  std::vector<std::thread> threads;
  threads.reserve(names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    threads.emplace_back([&, i] {
      start.arrive_and_wait();
      names[i] = InternMany(i * kMany / names.size());
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_THAT(names, Each(Eq(InternMany())));
}

TEST(Interning, PointersStayWhenMoreIsInterned) {
  const char* early = kaml_intern("early");
  InternMany();
  EXPECT_EQ(kaml_intern("early"), early);
  EXPECT_STREQ(early, "early");
}

TEST(Interning, CoversTheNamesOfEveryDocument) {
  Document built;
  const kaml_content* element = built.AddElement(nullptr, "p:a");
  EXPECT_EQ(kaml_elem_name(element), kaml_intern("p:a"));
}
