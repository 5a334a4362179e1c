#include "tests/faults/memory_fixture.h"

#include <algorithm>
#include <filesystem>

using recording_host::Settings;
using recording_host::Value;

const Values& Changes() {
  static const Values changes = {{"tcp_ecn", "7"},
                                 {"tcp_mem_high", std::string(300, '3')},
                                 {"tcp_sack", std::string(9000, '4')},
                                 {"tcp_wmem_min", "1234567890123456"}};
  return changes;
}

std::string NotOpenedLine(const std::string& file, const std::string& error) {
  return "error opening stream for write - file [" + TunableTree::Path(file) +
         "]; error: " + error + "\n";
}

Values NotOpenedForWantOfMemory(const std::string& lines) {
  Values not_opened;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    const std::string line = NotOpenedLine(setting.file, kNoMemory);
    if (*setting.container == '\0' && lines.find(line) != std::string::npos) {
      not_opened[setting.name] = line;
    }
  }
  return not_opened;
}

// The host keeps room for what it notes, so that it may note a destructor's call too. The first
// layer leaves what is kept for good: the interned names, the C library's own.
MemoryTest::MemoryTest() {
  recording_host::Calls().reserve(10000);
  recording_host::CallPositions().reserve(10000);
  request.replies.reserve(10);
  ExpectTheNextLayerToWork();
}

memory::Attempt MemoryTest::TryNewLayer(std::size_t n, memory::Mode mode) {
  layer = nullptr;
  auto& factory = dynamic_cast<kaeCPLayerFactory&>(*library.plugin());
  return memory::Try([&] { layer = factory.GetNewLayer(); }, n, mode);
}

memory::Attempt MemoryTest::TryConfigure(std::size_t n, memory::Mode mode) {
  std::vector<kaml_content*> contents;
  for (const auto& [name, value] : Changes()) {
    contents.push_back(Value(name, value));
  }
  const kaml_content* document = Settings(contents);
  auto& configure = dynamic_cast<kaeCPLayer::ConfigureCB&>(*layer);
  result = false;
  request.replies.clear();
  return memory::Try([&] { result = configure.do_Configure(&request, document); }, n, mode);
}

memory::Attempt MemoryTest::TryRelease(std::size_t n, memory::Mode mode) {
  auto& release = dynamic_cast<kaeCPLayer::ReleaseCB&>(*layer);
  return memory::Try([&] { release.do_Release(); }, n, mode);
}

void MemoryTest::ForEveryAllocation(const std::function<memory::Attempt(std::size_t)>& disturb) {
  for (std::size_t n = 1; !HasFailure(); ++n) {
    SCOPED_TRACE(testing::Message() << "allocation " << n);
    GivenKernelValues();
    recording_host::ResetHost();
    output.Take();
    memory::ForgetBlocks();
    const memory::Attempt attempt = disturb(n);
    if (attempt.failed == 0) {
      EXPECT_GT(n, 50U) << "more than one a file";
      EXPECT_FALSE(attempt.threw);
      return;
    }
  }
}

std::string MemoryTest::ServedLines(const Values& values) {
  std::string lines = kReceivedLine;
  for (const auto& [name, value] : Changes()) {
    lines += SettingLine(name, value);
  }
  return lines + WriteLines(values) + kSuccess;
}

std::string MemoryTest::ReleaseLines() { return kToPreviousLines + WriteLines(KernelValues()); }

static bool IsRegular(const std::string& file) {
  return std::filesystem::is_regular_file(TunableTree::Path(file));
}

void MemoryTest::ExpectFilesBut(const Values& settings, const Values& values) const {
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    const bool is_child = *setting.container != '\0';
    if (!is_child && settings.count(setting.name) == 0 && IsRegular(setting.file)) {
      EXPECT_EQ(tree.Read(setting.file), FileText(setting.file, values)) << setting.file;
    }
  }
}

void MemoryTest::ExpectFilesOldNewOrEmpty() const {
  const Values before = KernelValues();
  const Values after = With(Changes());
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    if (IsRegular(setting.file)) {
      std::string text = tree.Read(setting.file);
      std::replace(text.begin(), text.end(), '\t', ' ');
      text.erase(text.find_last_not_of('\n') + 1);
      EXPECT_THAT(text,
                  testing::AnyOf("", FileText(setting.file, before), FileText(setting.file, after)))
          << setting.file;
    }
  }
}

void MemoryTest::ExpectTheNextLayerToWork() {
  output.Take();
  TryNewLayer();
  EXPECT_EQ(output.Take(), SnapshotLines(KernelValues()) + kToPreviousLines);
  TryConfigure();
  EXPECT_EQ(output.Take(), ServedLines(With(Changes())));
  ExpectFiles(With(Changes()));
  TryRelease();
  EXPECT_EQ(output.Take(), ReleaseLines());
  ExpectFiles(KernelValues());
}

void MemoryTest::ExpectNothingLeft() {
  recording_host::ResetHost();
  request.replies.clear();
  for (const memory::Block& block : memory::LiveBlocks()) {
    ADD_FAILURE() << "a block of " << block.size << " bytes is left";
  }
}
