#pragma once

#include <string>
#include <vector>

namespace devhost {

// What the command ends with.
enum ExitStatus {
  kDone = 0,        // every request was answered with success, every tunable is back
  kFailed = 1,      // an error reply, no reply, a tunable that is not back, any other failure
  kBadInput = 2,    // the command line or a document; nothing was delivered
  kNoPlugin = 3,    // the plug-in does not load
  kNoSandbox = 77,  // no private namespace to be had
};

struct ApplyOptions {
  std::vector<std::string> documents;
  std::string plugin;
  std::string netns;   // the network namespace to go to; empty for a private one
  bool as_is = false;  // leave the read-only core files as the kernel has them
};

// Delivers the documents, each as one request, to a new layer of the plug-in in a private namespace
// or in an existing one, shows on standard output what became of each, releases the layer and
// compares. Throws DocumentError before anything else is done, NamespaceError and PluginError
// before a request is delivered; what a layer throws is told and ends nothing.
ExitStatus Apply(const ApplyOptions& options);

}  // namespace devhost
