#pragma once

#include <string>
#include <vector>

#include "devhost/kaehost/place.h"

namespace devhost {

struct ApplyOptions {
  std::vector<std::string> documents;
  std::vector<std::string> program;  // to run under the settings; empty for none
  std::string plugin;
  Place place;
  bool hold = false;  // keep the settings until a signal comes
  bool json = false;
  bool quiet = false;
};

// Delivers the documents, each as one request, to a new layer of the plug-in, shows on standard
// output what became of each, runs the program or holds the settings, releases the layer and
// compares. Answers the exit status. Throws DocumentError before anything else is done,
// NamespaceError and PluginError before a request is delivered; what a layer throws is told and
// ends nothing. From the first document on, SIGINT, SIGTERM and SIGHUP end the session early, but
// never before the layer's release.
int Apply(const ApplyOptions& options);

}  // namespace devhost
