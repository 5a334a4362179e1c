#pragma once

#include <string>
#include <vector>

#include "tests/layer/fixture.h"

inline const std::string kSuccess = "{success}\n";

// Start values with some of them set by a request.
inline Values With(const Values& changes) {
  Values values = StartValues();
  for (const auto& [name, value] : changes) {
    values.at(name) = value;
  }
  return values;
}

inline std::string SettingLine(const std::string& name, const std::string& value) {
  return "Setting new value - " + name + " = " + value + "\n";
}

class RequestTest : public LayerTest {
 protected:
  // Checks that the layer has not written anything since the kernel got its values.
  void ExpectNothingWritten() const {
    EXPECT_EQ(tree.Read("ipv4/tcp_ecn"), KernelValues()["tcp_ecn"] + "\n");
    EXPECT_EQ(tree.Read("core/rmem_max"), KernelValues()["rmem_max"] + "\n");
  }

  // Checks a request whose "tcp-settings" holds `contents`: its lines between the first and those
  // of the writing, and the values then written.
  void ExpectServed(const std::vector<kaml_content*>& contents, const std::string& lines,
                    const Values& changes) {
    const auto layer = NewLayer();
    EXPECT_TRUE(Configure(*layer, recording_host::Settings(contents)));
    EXPECT_EQ(output.Take(), kReceivedLine + lines + WriteLines(With(changes)) + kSuccess);
    ExpectFiles(With(changes));
  }
};
