#pragma once

#include <span>
#include <string>

namespace devhost {

class Trial;

// What a test needs: what the tests before it have shown. Each includes those above it.
enum class Needs {
  kFile,       // the file only; the test loads nothing
  kLibrary,    // the library can be loaded
  kPlugin,     // and the plug-in initialised
  kLayer,      // and it makes a layer
  kRelease,    // and the layer can be released
  kReply,      // and it replies to a request
  kCatalogue,  // and it is a plug-in for "tcp-settings" documents
};

// A test of a plug-in. It runs in a process and a private namespace of its own.
struct Test {
  const char* name;
  const char* about;  // what holds if it passes
  Needs needs;
  void (*run)(Trial&);  // throws Failure or Skipped
};

// What a test throws if the plug-in is not what it should be.
struct Failure {
  std::string expected;
  std::string seen;
};

// What a test throws if it cannot be run here.
struct Skipped {
  std::string why;
};

inline void Expect(bool holds, const std::string& expected, const std::string& seen) {
  if (!holds) {
    throw Failure{expected, seen};
  }
}

inline void ExpectText(const std::string& what, const std::string& expected,
                       const std::string& seen) {
  Expect(expected == seen, what + " \"" + expected + "\"", "\"" + seen + "\"");
}

// The tests that others need, in the order of Needs: the first shows that the library can be
// loaded, and so on.
std::span<const Test> FirstTests();

// The tests by subject.
std::span<const Test> LibraryTests();
std::span<const Test> LayerTests();
std::span<const Test> RequestTests();
std::span<const Test> ObstacleTests();
std::span<const Test> HostTests();

}  // namespace devhost
