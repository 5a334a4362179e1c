// A document is its own file and nothing else: what it points to is left alone.

#include <gmock/gmock.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <string>

#include "tests/devhost/support/nodes.h"
#include "tests/devhost/support/temp_folder.h"

using testing::ElementsAre;
using testing::StartsWith;

namespace {

// Sees whether a file is opened while this object lives.
class OpenWatch {
 public:
  explicit OpenWatch(const std::string& path) {
    inotify_add_watch(inotify_, path.c_str(), IN_OPEN);
  }
  ~OpenWatch() { close(inotify_); }

  bool WasOpened() const {
    alignas(inotify_event) char events[4096];
    return read(inotify_, events, sizeof events) > 0;
  }

 private:
  const int inotify_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
};

class XmlOutside : public testing::Test {
 protected:
  std::string Document(const std::string& bytes) { return folder_.Write("document.xml", bytes); }

  void ExpectRefused(const std::string& bytes) {
    const std::string path = Document(bytes);
    EXPECT_THAT(ErrorOfFile(path),
                StartsWith(path + ":1:14: a document may not declare entities; "))
        << bytes;
  }

  const TempFolder folder_;
  const std::string outside_ = folder_.Write("outside", "<!ENTITY e 'v'>");
  const OpenWatch watch_{outside_};
};

}  // namespace

TEST_F(XmlOutside, WatchSeesAFileThatIsOpened) {
  EXPECT_FALSE(watch_.WasOpened());
  EXPECT_ANY_THROW(NodesOfFile(outside_));
  EXPECT_TRUE(watch_.WasOpened());
}

TEST_F(XmlOutside, DocumentTypeIsNotFetched) {
  EXPECT_THAT(NodesOfFile(Document("<!DOCTYPE a SYSTEM '" + outside_ + "'><a>1</a>")),
              ElementsAre("a", "  '1'"));
  EXPECT_FALSE(watch_.WasOpened());
}

TEST_F(XmlOutside, DocumentTypeIsNotFetchedForAReferenceEither) {
  for (const std::string& location : {outside_, "file://" + outside_}) {
    const std::string path =
        Document("<!DOCTYPE a PUBLIC 'p' '" + location + "' [%p;]>\n<a>&e;</a>");
    EXPECT_EQ(ErrorOfFile(path),
              path +
                  ":2:4: cannot be read as XML: the entity \"e\" is unknown; write the text "
                  "itself, and &amp; for \"&\"");
  }
  EXPECT_FALSE(watch_.WasOpened());
}

TEST_F(XmlOutside, EntityIsRefusedAndNotFetched) {
  for (const std::string& location : {outside_, "file://" + outside_}) {
    for (const std::string& declared :
         {"e SYSTEM '" + location + "'", "e PUBLIC 'p' '" + location + "'"}) {
      ExpectRefused("<!DOCTYPE a [<!ENTITY " + declared + ">]><a b='&e;'>&e;</a>");
      ExpectRefused("<!DOCTYPE a [<!ENTITY % " + declared + "> %e;]><a>&e;</a>");
    }
  }
  EXPECT_FALSE(watch_.WasOpened());
}

TEST_F(XmlOutside, IncludeIsAnElementLikeAnyOther) {
  EXPECT_THAT(NodesOfFile(Document("<a xmlns:xi='http://www.w3.org/2001/XInclude'><xi:include "
                                   "parse='text' href='" +
                                   outside_ + "'/></a>")),
              ElementsAre("a", "  xi:include"));
  EXPECT_FALSE(watch_.WasOpened());
}
