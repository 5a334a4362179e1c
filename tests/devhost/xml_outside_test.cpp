// A document is its own file and nothing else: what it points to is left alone.

#include <gmock/gmock.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <string>

#include "tests/devhost/nodes.h"
#include "tests/devhost/temp_folder.h"

using testing::ElementsAre;

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

TEST_F(XmlOutside, EntityIsNotFetched) {
  EXPECT_THAT(
      NodesOfFile(Document("<!DOCTYPE a [<!ENTITY e SYSTEM '" + outside_ + "'>]><a>&e;</a>")),
      ElementsAre("a", "  (entity)"));
  EXPECT_FALSE(watch_.WasOpened());
}

TEST_F(XmlOutside, ParameterEntityIsNotFetched) {
  EXPECT_THAT(
      NodesOfFile(Document("<!DOCTYPE a [<!ENTITY % p SYSTEM '" + outside_ + "'> %p;]><a>1</a>")),
      ElementsAre("a", "  '1'"));
  EXPECT_FALSE(watch_.WasOpened());
}

TEST_F(XmlOutside, IncludeIsAnElementLikeAnyOther) {
  EXPECT_THAT(NodesOfFile(Document("<a xmlns:xi='http://www.w3.org/2001/XInclude'><xi:include "
                                   "parse='text' href='" +
                                   outside_ + "'/></a>")),
              ElementsAre("a", "  xi:include"));
  EXPECT_FALSE(watch_.WasOpened());
}
