// Several layers at once, each served by one thread at a time, and the plug-in used by all.

#include <gtest/gtest.h>
#include <sched.h>

#include <barrier>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "tests/endurance/hosted.h"
#include "tests/support/output.h"
#include "tests/threads/together.h"

namespace {

using devhost::Reply;

constexpr int kLayers = 6;
constexpr int kRounds = 8;

const char* const kFailing = "ipv4/tcp_rmem";

// Texts that no other thread and no other round has.
Values ValuesOf(int number, int round) {
  return DistinctValues(std::to_string(number + 1) + "0" + std::to_string(round) + "0");
}

// Gives the calling thread a view of the file system of its own: what it mounts from here on, no
// other thread sees.
void KeepMountsToThisThread() {
  if (unshare(CLONE_NEWNS) != 0) {
    throw std::system_error(errno, std::generic_category(), "unshare");
  }
}

void ExpectSuccess(HostedLayer& layer, const Values& named) {
  devhost::Request request;
  EXPECT_TRUE(layer.Configure(request, SettingsDocument(named)));
  EXPECT_EQ(request.reply(), Reply::kSuccess);
  EXPECT_FALSE(request.answered_again());
}

void ExpectError(HostedLayer& layer, const Values& named, const char* file, int error) {
  devhost::Request request;
  EXPECT_FALSE(layer.Configure(request, SettingsDocument(named)));
  EXPECT_EQ(request.reply(), Reply::kError);
  EXPECT_EQ(request.error(), "file error");
  EXPECT_EQ(request.detail(), "[" + TunableTree::Path(file) + "]: " + std::strerror(error));
  EXPECT_FALSE(request.answered_again());
}

Files Without(Files files, const char* file) {
  files.erase(file);
  return files;
}

class LayersOnManyThreads : public testing::Test {
 protected:
  LayersOnManyThreads() { Fill(tree, FilesOf(snapshot)); }

  const Values snapshot = DistinctValues("3");
  TunableTree tree;
  CapturedOutput output;
};

// A thread's own kernel files, where each thread can tell exactly what its layer has done.
class FilesOfOnesOwn {
 public:
  explicit FilesOfOnesOwn(int number) : number_(number), snapshot_(ValuesOf(number, 9)) {
    KeepMountsToThisThread();
    tree_ = std::make_unique<TunableTree>();
    Fill(*tree_, FilesOf(snapshot_));
  }

  // A layer's whole life: requests that succeed and, half-way, one that fails for a reason that the
  // neighbours' do not share.
  void LiveThrough() {
    HostedLayer layer;
    layer.Start();
    ExpectSuccess(layer, {{"tcp_sack", "0"}});
    ExpectFiles(FilesOf(With(StartingValues(snapshot_), {{"tcp_sack", "0"}})));
    Serve(layer);
    Fail(layer);
    Serve(layer);
    layer.Stop();
    layer.Release();
    ExpectFiles(FilesOf(snapshot_));
  }

 private:
  void Serve(HostedLayer& layer) {
    for (int round = 0; round < kRounds; ++round) {
      ExpectSuccess(layer, ValuesOf(number_, round));
      ExpectFiles(FilesOf(ValuesOf(number_, round)));
    }
  }

  void Fail(HostedLayer& layer) {
    number_ % 2 == 0 ? tree_->MakeLoop(kFailing) : tree_->MakeFolder(kFailing);
    ExpectError(layer, ValuesOf(number_, 0), kFailing, number_ % 2 == 0 ? ELOOP : EISDIR);
    ExpectFiles(Without(FilesOf(snapshot_), kFailing));
    tree_->Write(kFailing, "");
  }

  void ExpectFiles(const Files& files) const { EXPECT_EQ(WrongFile(*tree_, files), ""); }

  int number_;
  Values snapshot_;
  std::unique_ptr<TunableTree> tree_;
};

TEST_F(LayersOnManyThreads, DoEachWhatOneDoesAlone) {
  Together(kLayers, [](int number) { FilesOfOnesOwn(number).LiveThrough(); });
  EXPECT_EQ(WrongFile(tree, FilesOf(snapshot)), "");
}

TEST_F(LayersOnManyThreads, KeepTheirValuesApartOverTheSameFiles) {
  std::barrier all(kLayers);
  Together(kLayers, [&](int number) {
    HostedLayer layer;
    all.arrive_and_wait();
    for (int round = 0; round < kRounds; ++round) {
      ExpectSuccess(layer, ValuesOf(number, round));
    }
    for (int turn = 0; turn < kLayers; ++turn) {
      all.arrive_and_wait();
      if (turn == number) {
        ExpectSuccess(layer, {});
        EXPECT_EQ(WrongFile(tree, FilesOf(ValuesOf(number, kRounds - 1))), "");
      }
    }
    all.arrive_and_wait();
  });
  EXPECT_EQ(WrongFile(tree, FilesOf(snapshot)), "");
}

TEST_F(LayersOnManyThreads, MayBeHandedFromThreadToThread) {
  std::vector<std::unique_ptr<HostedLayer>> layers(kLayers);
  const auto layer_for = [&](int number, int round) -> std::unique_ptr<HostedLayer>& {
    return layers[static_cast<std::size_t>((number + round) % kLayers)];
  };
  Together(kLayers, [&](int number) { layer_for(number, 0) = std::make_unique<HostedLayer>(); });
  for (int round = 1; round <= kRounds; ++round) {
    Together(kLayers, [&](int number) {
      layer_for(number, round)->Start();
      ExpectSuccess(*layer_for(number, round), ValuesOf(0, round));
      layer_for(number, round)->Stop();
    });
    EXPECT_EQ(WrongFile(tree, FilesOf(ValuesOf(0, round))), "") << "round " << round;
  }
  Together(kLayers, [&](int number) { layer_for(number, kRounds + 1).reset(); });
  EXPECT_EQ(WrongFile(tree, FilesOf(snapshot)), "");
}

template <class Base>
void ExpectItsNameAndVersion() {
  EXPECT_EQ(dynamic_cast<Base&>(*this_kae_plugin).GetName(), "TCP");
  EXPECT_EQ(dynamic_cast<Base&>(*this_kae_plugin).GetVersion(), "001.000");
}

TEST_F(LayersOnManyThreads, ComeAndGoWhileOthersAskThePluginForEverything) {
  Together(kLayers, [](int number) {
    for (int round = 0; round < 20; ++round) {
      if (number % 2 == 0) {
        EXPECT_NE(HostedLayer().get(), nullptr);
      }
      ExpectItsNameAndVersion<kaeVersionInfo>();
      ExpectItsNameAndVersion<kaePlugin>();
      ExpectItsNameAndVersion<kaeCPLayerFactory>();
      ExpectItsNameAndVersion<kaeCPPlugin>();
      EXPECT_TRUE(this_kae_plugin->InitPlugin());
      this_kae_plugin->CleanupPlugin();
    }
  });
}

}  // namespace
