// Exhausted memory while a request is served.

#include <algorithm>
#include <cstdio>

#include "tests/faults/memory_fixture.h"

namespace {

const char* const kFolder = "ipv4/tcp_stdurg";
const char* const kIsFolder = "Is a directory";

std::string Detail(const std::string& file, const std::string& error) {
  return "[" + TunableTree::Path(file) + "]: " + error;
}

// The file that ended a request for want of memory; empty when none did.
std::string FileThatEnded(const std::string& lines) {
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (lines.find("file write error: " + Detail(setting.file, kNoMemory)) != std::string::npos) {
      return setting.file;
    }
  }
  return "";
}

// The setting that writes a file.
std::string WriterOf(const std::string& file) {
  const auto& all = ExpectedCatalogue();
  return std::find_if(all.begin(), all.end(),
                      [&](const ExpectedSetting& setting) { return setting.file == file; })
      ->name;
}

class RequestMemoryTest : public MemoryTest, public testing::WithParamInterface<memory::Mode> {
 protected:
  // The lines of a first request that ends at `file`, and whose rollback meets these lines.
  static std::string EndedLines(const std::string& file, const std::string& error,
                                const Values& instead);

  void ExpectEnded(const std::string& file, const std::string& error, const Values& instead,
                   const std::string& lines);
  void ExpectPassedException(const std::string& lines, const std::string& undisturbed);
  void ExpectToServeAgain(const std::string& lines_so_far);
  memory::Attempt Disturb(std::size_t n);
};

std::string RequestMemoryTest::EndedLines(const std::string& file, const std::string& error,
                                          const Values& instead) {
  const std::string served = ServedLines(With(Changes()));
  const std::size_t writing = served.find("\nwriting config...\n");
  const std::string before =
      served.substr(0, served.find("\n" + WriterOf(file) + " = ", writing) + 1);
  return before + "file write error: " + Detail(file, error) + "\n" + kToPreviousLines +
         WriteLines(KernelValues(), instead) + "{error \"file error\" \"" + Detail(file, error) +
         "\"}\n";
}

void RequestMemoryTest::ExpectEnded(const std::string& file, const std::string& error,
                                    const Values& instead, const std::string& lines) {
  EXPECT_EQ(lines, EndedLines(file, error, instead));
  ASSERT_EQ(request.replies.size(), 1U);
  EXPECT_EQ(request.replies[0].error, "file error");
  EXPECT_EQ(request.replies[0].detail, Detail(file, error));
}

// The lines that came are the first of those that would have come.
void RequestMemoryTest::ExpectPassedException(const std::string& lines,
                                              const std::string& undisturbed) {
  EXPECT_EQ(lines, undisturbed.substr(0, lines.size()));
  EXPECT_THAT(request.replies, testing::IsEmpty());
  ExpectFilesOldNewOrEmpty();
}

// The same request again, and the release.
void RequestMemoryTest::ExpectToServeAgain(const std::string& lines_so_far) {
  const bool rolled_back = lines_so_far.find(kToPreviousLines) != std::string::npos;
  Values values = rolled_back ? KernelValues() : StartValues();
  for (const auto& [name, value] : Changes()) {
    values[name] = value;
  }
  tree.Write(kFolder, "back");
  TryConfigure();
  EXPECT_TRUE(result);
  EXPECT_EQ(output.Take(), ServedLines(values));
  ExpectFiles(values);
  TryRelease();
  EXPECT_EQ(output.Take(), ReleaseLines());
  ExpectFiles(KernelValues());
  ExpectNothingLeft();
  ExpectTheNextLayerToWork();
}

memory::Attempt RequestMemoryTest::Disturb(std::size_t n) {
  TryNewLayer();
  tree.MakeFolder(kFolder);
  output.Take();
  const memory::Attempt attempt = TryConfigure(n, GetParam());
  const std::string lines = output.Take();
  Values instead = NotOpenedForWantOfMemory(lines);
  EXPECT_LE(instead.size(), 1U);
  const bool folder_was_unopened =
      !instead.insert({WriterOf(kFolder), NotOpenedLine(kFolder, kIsFolder)}).second;
  const std::string ended = FileThatEnded(lines);
  EXPECT_FALSE(result);
  if (attempt.threw) {
    ExpectPassedException(lines, EndedLines(kFolder, kIsFolder, instead));
  } else if (!ended.empty()) {
    EXPECT_EQ(instead.size(), 1U);
    EXPECT_FALSE(folder_was_unopened);
    ExpectEnded(ended, kNoMemory, instead, lines);
    ExpectFiles(KernelValues());
  } else {
    ExpectEnded(kFolder, kIsFolder, instead, lines);
    ExpectFilesBut(instead, KernelValues());
  }
  ExpectToServeAgain(lines);
  return attempt;
}

TEST_P(RequestMemoryTest, PassesToTheHostOrEndsTheRequestWithAFileError) {
  ForEveryAllocation([&](std::size_t n) { return Disturb(n); });
}

INSTANTIATE_TEST_SUITE_P(Mode, RequestMemoryTest, testing::Values(memory::kOnce, memory::kForEver),
                         NameOfMode);

// Opening a file takes memory in the C library, whatever is done here. Its buffer need not.
TEST_F(MemoryTest, IsNotTakenForABufferForEachFile) {
  TryNewLayer();
  EXPECT_EQ(memory::CountOfSize(BUFSIZ), 0U);
  TryConfigure();
  EXPECT_EQ(memory::CountOfSize(BUFSIZ), 0U);
  TryRelease();
  EXPECT_EQ(memory::CountOfSize(BUFSIZ), 0U);
}

}  // namespace
