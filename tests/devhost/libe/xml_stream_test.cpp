// Documents that are no regular files: pipes and devices, which may have no end.

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "tests/devhost/support/filled_pipe.h"
#include "tests/devhost/support/nodes.h"
#include "tests/devhost/support/temp_folder.h"

using testing::ElementsAre;

TEST(XmlStream, PipeIsReadToItsEnd) {
  const FilledPipe pipe("<a>" + std::string(200'000, 'x') + "</a>");
  EXPECT_THAT(NodesOfFile(pipe.path()), ElementsAre("a", "  '" + std::string(200'000, 'x') + "'"));
}

TEST(XmlStream, EndlessTextIsRefused) {
  const FilledPipe pipe("<a>\n", std::string(65'536, 'x'));
  EXPECT_EQ(
      ErrorOfFile(pipe.path()),
      pipe.path() + ":2:268435453: the document is longer than 256 MiB; split it into several");
}

TEST(XmlStream, EndlessTagIsRefused) {
  const FilledPipe pipe("<a>\n<b", std::string(65'536, ' '));
  EXPECT_EQ(ErrorOfFile(pipe.path()),
            pipe.path() +
                ":2:1: a tag, a comment, a processing instruction or a document type declaration "
                "is longer than 64 KiB; shorten it");
}

TEST(XmlStream, ErrorEndsAnEndlessDocument) {
  const FilledPipe pipe("<a>\n</b>", std::string(65'536, 'x'));
  EXPECT_EQ(
      ErrorOfFile(pipe.path()),
      pipe.path() +
          ":2:3: cannot be read as XML: the end tag </b> does not match <a> in line 1; write </a>");
}

TEST(XmlStream, DevicesThatNeverEndAreRefused) {
  for (const std::string path : {"/dev/zero", "/dev/full"}) {
    EXPECT_EQ(ErrorOfFile(path),
              path + ":1:1: cannot be read as XML: the document contains a NUL byte; remove it");
  }
}

TEST(XmlStream, NamedPipeIsReadOnceItHasAWriter) {
  const TempFolder folder;
  const std::string path = folder.Path("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  std::thread writer([&] { folder.Write("pipe", "<a/>"); });
  EXPECT_THAT(NodesOfFile(path), ElementsAre("a"));
  writer.join();
}

TEST(XmlStream, SocketCannotBeRead) {
  const TempFolder folder;
  sockaddr_un address = {AF_UNIX, {}};
  const std::string path = folder.Path("socket");
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(ErrorOfFile(path), path + ": cannot be read: No such device or address");
  close(fd);
}
