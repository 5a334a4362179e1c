// The limits of documents that docs/kaehost.md tells, against those of the code.

#include <gmock/gmock.h>

#include <string>

#include "devhost/libe/limits.h"
#include "tests/docs/support/page.h"

TEST(KaehostPage, TellsTheLimitsOfDocuments) {
  const devhost::Limits limits;
  const std::string table =
      "| Limit | |\n"
      "|---|---|\n"
      "| Length | " +
      std::to_string(limits.bytes >> 20) +
      " MiB |\n"
      "| Elements, attributes, texts, comments and processing instructions together | " +
      std::to_string(limits.contents >> 20) +
      " Mi |\n"
      "| Elements inside each other | " +
      std::to_string(limits.levels >> 20) +
      " Mi |\n"
      "| Different names of elements and attributes | " +
      std::to_string(limits.names >> 10) +
      " Ki |\n"
      "| One tag, comment, processing instruction or document type declaration | " +
      std::to_string(limits.markup >> 10) + " KiB |\n\n";
  EXPECT_THAT(Page("kaehost.md").text(), testing::HasSubstr(table));
}
