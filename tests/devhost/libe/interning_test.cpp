// The names that a plug-in interns.

#include "devhost/libe/interning.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "host/kaml.h"

using testing::ElementsAre;

TEST(Vocabulary, HasEachInternedNameOnceInTheOrderOfTheFirstTime) {
  const char* first = kaml_intern("vocabulary-one");
  kaml_intern("vocabulary-two");
  EXPECT_EQ(kaml_intern("vocabulary-one"), first);
  kaml_intern("vocabulary-three");
  const std::vector<std::string> names = devhost::InternedNames();
  ASSERT_GE(names.size(), 3U);
  EXPECT_THAT(std::vector<std::string>(names.end() - 3, names.end()),
              ElementsAre("vocabulary-one", "vocabulary-two", "vocabulary-three"));
}
