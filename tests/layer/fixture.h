#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "layer/kaTCPLayer.h"
#include "settings/CTCPSetting.h"
#include "tests/support/catalogue.h"
#include "tests/support/host.h"
#include "tests/support/output.h"
#include "tests/support/tunable_tree.h"

// The layer with its internal steps in reach.
class OpenLayer : public kaTCPLayer {
 public:
  using kaTCPLayer::GetPreviousSettings;
  using kaTCPLayer::HandleConfig;
  using kaTCPLayer::HandleRequest;
  using kaTCPLayer::root_element_name_;
  using kaTCPLayer::SendFileError;
  using kaTCPLayer::settings_;
  using kaTCPLayer::SetToPrevious;
  using kaTCPLayer::WriteConfig;
  using kaTCPLayer::WritePrevious;

  // Answers the setting of this name.
  CTCPSetting& Find(const std::string& name) const;

  // Deletes every setting, so that the map is empty.
  void Empty();
};

// Values by setting name.
using Values = std::map<std::string, std::string>;

// What the kernel of these tests holds: for each setting a number of its own.
Values KernelValues();

// What a new layer holds: the kernel's values, but for the fifteen that start from their default.
Values StartValues();

// The lines of a whole pass that meets these values, in catalogue order. `instead` holds, by
// setting name, whole lines that take the place of a setting's own.
std::string SnapshotLines(const Values& values, const Values& instead = {});
std::string WriteLines(const Values& values, const Values& instead = {});
inline const std::string kToPreviousLines = "\nsetting to previous values\n";
inline const std::string kReceivedLine = "received TCP_Settings command\n";

// The exact text that a file ("ipv4/tcp_rmem") is written with for these values.
std::string FileText(const std::string& file, const Values& values);

// A kernel in which all 50 files exist and hold KernelValues(), and a host that records. Standard
// output is captured.
class LayerTest : public testing::Test {
 protected:
  LayerTest();
  ~LayerTest() override { recording_host::ResetHost(); }

  // Gives all 50 files their KernelValues().
  void GivenKernelValues();

  // Constructs a layer and forgets its lines.
  std::unique_ptr<OpenLayer> NewLayer();

  // Delivers the contents to the layer's do_Configure and answers its result.
  bool Configure(kaTCPLayer& layer, const kaml_content* contents);

  // Checks that each regular file of the catalogue holds the text for these values.
  void ExpectFiles(const Values& values) const;

  TunableTree tree;
  recording_host::Request request;
  CapturedOutput output;
};
