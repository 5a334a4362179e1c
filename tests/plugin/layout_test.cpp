// Where everything lies that a host reaches by position alone, as code compiled elsewhere does.

#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <map>

#include "tests/plugin/elf_file.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/slots.h"

namespace {

using recording_host::Calls;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t kWord = sizeof(void*);

// A table of virtual operations is headed by the offset to the whole object and the type.
constexpr std::ptrdiff_t kHeader = 2;

void* At(void* object, std::size_t word) { return static_cast<char*>(object) + word * kWord; }

void** TableOf(void* object) { return *static_cast<void***>(object); }

// The offset of the virtual base comes before the header.
std::ptrdiff_t VirtualBaseOffset(void* object) {
  return reinterpret_cast<std::ptrdiff_t>(TableOf(object)[-kHeader - 1]);
}

using HostWords = std::array<std::uintptr_t, 3>;

HostWords HostWordsOf(void* plugin) {
  HostWords words;
  std::memcpy(words.data(), At(plugin, 1), sizeof words);
  return words;
}

// Where a function's code begins. On ARM, the lowest bit of a function's address tells the kind of
// its instructions.
void* CodeOf(void* function) {
#if defined(__arm__)
  return reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(function) & ~std::uintptr_t{1});
#else
  return function;
#endif
}

// Checks that slot i of the table at `object` holds the i-th of these functions. Equal functions
// may share one address.
void ExpectSlots(const LoadedLibrary& library, void* object,
                 const std::vector<std::string>& functions) {
  std::map<void*, std::vector<std::string>> names;
  for (const Symbol& symbol : Symbols("--defined-only")) {
    names[library.base() + symbol.address].push_back(symbol.name);
  }
  for (std::size_t slot = 0; slot < functions.size(); ++slot) {
    EXPECT_THAT(names[CodeOf(TableOf(object)[slot])], Contains(functions[slot])) << "slot " << slot;
  }
}

using PluginLayout = PluginLayerTest;
using LayerLayout = PluginLayerTest;

TEST_F(PluginLayout, BeginsWithTheTablePointerAndTheHostsWords) {
  EXPECT_THAT(HostWordsOf(object()), ElementsAre(0, 0, 1));
}

TEST_F(PluginLayout, LeavesTheHostsWordsToTheHost) {
  const HostWords words = {7, 8, 9};
  std::memcpy(At(object(), 1), words.data(), sizeof words);
  As<kaePlugin>().GetName();
  As<kaePlugin>().GetVersion();
  As<kaePlugin>().InitPlugin();
  NewLayer();
  As<kaePlugin>().CleanupPlugin();
  EXPECT_EQ(HostWordsOf(object()), words);
}

TEST_F(PluginLayout, HasTheFactoryAfterTheHostsWordsAndThenEnds) {
  EXPECT_EQ(&As<kaeCPLayerFactory>(), At(object(), 4));
  EXPECT_EQ(sizeof(kaeVersionInfo), kWord);
  EXPECT_EQ(sizeof(kaePlugin), 4 * kWord);
  EXPECT_EQ(sizeof(kaeCPLayerFactory), kWord);
  EXPECT_EQ(sizeof(kaeCPPlugin), 5 * kWord);
  EXPECT_EQ(FindSymbol("_ZL17kae_plugin_object").size, 5 * kWord);
}

TEST_F(PluginLayout, AnswersByPosition) {
  EXPECT_EQ(CallSlot<std::string>(object(), 0), "TCP");
  EXPECT_EQ(CallSlot<std::string>(object(), 1), "001.000");
  CallSlot<void>(object(), 5);
  EXPECT_TRUE(CallSlot<bool>(object(), 4));
  EXPECT_EQ(output.Take(), "");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_NE(Layer(CallSlot<kaeCPLayer*>(object(), 6)), nullptr);
}

TEST_F(PluginLayout, AnswersByPositionThroughTheFactory) {
  void* factory = At(object(), 4);
  void* version_info = static_cast<char*>(factory) + VirtualBaseOffset(factory);
  EXPECT_EQ(CallSlot<std::string>(version_info, 0), "TCP");
  EXPECT_EQ(CallSlot<std::string>(version_info, 1), "001.000");
  EXPECT_NE(Layer(CallSlot<kaeCPLayer*>(factory, 2)), nullptr);
}

TEST_F(LayerLayout, HasItsBasesInOrder) {
  const Layer layer = NewLayer();
  EXPECT_EQ(dynamic_cast<void*>(layer.get()), layer.get());
  EXPECT_EQ(dynamic_cast<kaeCPLayer::ConfigureCB*>(layer.get()), At(layer.get(), 1));
  EXPECT_EQ(dynamic_cast<kaeCPLayer::ReleaseCB*>(layer.get()), At(layer.get(), 2));
  EXPECT_EQ(dynamic_cast<kaeCPLayer::StartCB*>(layer.get()), At(layer.get(), 3));
  EXPECT_EQ(dynamic_cast<kaeCPLayer::StopCB*>(layer.get()), At(layer.get(), 4));
}

TEST_F(LayerLayout, HasItsOperationsInOrder) {
  const Layer layer = NewLayer();
  ExpectSlots(
      library, layer.get(),
      {"_ZN10kaTCPLayerD1Ev", "_ZN10kaTCPLayerD0Ev",
       "_ZN10kaTCPLayer12do_ConfigureEP10kaeRequestPK12kaml_content", "_ZN10kaTCPLayer8do_StartEv",
       "_ZN10kaTCPLayer7do_StopEv", "_ZN10kaTCPLayer10do_ReleaseEv"});
}

TEST_F(LayerLayout, ServesByPositionAsAWholeAndThroughEachCallbackInterface) {
  struct Operation {
    std::size_t word;
    std::size_t slot;
  };
  struct Way {
    Operation configure, start, stop, release;
  };
  for (const Way& way :
       {Way{{0, 2}, {0, 3}, {0, 4}, {0, 5}}, Way{{1, 0}, {3, 0}, {4, 0}, {2, 0}}}) {
    tree.Write("ipv4/tcp_sack", "1\n");
    void* layer = NewLayer().release();
    const auto at = [layer](const Operation& operation) { return At(layer, operation.word); };
    Calls().clear();
    output.Take();
    recording_host::Request request;
    request.answer = false;
    const kaml_content* nothing = nullptr;
    EXPECT_FALSE(CallSlot<bool>(at(way.configure), way.configure.slot,
                                static_cast<kaeRequest*>(&request), nothing));
    EXPECT_EQ(output.Take(), "{success}\n");
    CallSlot<void>(at(way.start), way.start.slot);
    CallSlot<void>(at(way.stop), way.stop.slot);
    EXPECT_EQ(output.Take(), "");
    EXPECT_THAT(Calls(), ElementsAre("SendSuccess"));
    tree.Write("ipv4/tcp_sack", "0\n");
    CallSlot<void>(at(way.release), way.release.slot);
    EXPECT_EQ(tree.Read("ipv4/tcp_sack"), "1");
    EXPECT_EQ(Calls().back(), "~kaeCPLayer");
  }
}

}  // namespace
