#pragma once

#include <cstdio>
#include <fstream>
#include <string>

#include "host/kae.h"

// A plug-in that works, and tells on standard output what it is called for. Each broken one differs
// from it in one point.

inline void Tell(const char* what) { std::printf("[%s]\n", what); }

// Writes a tunable, named by its path below /proc/sys/net.
inline void WriteTunable(const std::string& name, const std::string& value) {
  std::ofstream("/proc/sys/net/" + name) << value << '\n';
}

class WorkingLayer : public kaeCPLayer,
                     public kaeCPLayer::ConfigureCB,
                     public kaeCPLayer::ReleaseCB {
 public:
  ~WorkingLayer() override { Tell("layer destroyed"); }
  bool do_Configure(kaeRequest* request, const kaml_content* content) override {
    Tell(content != nullptr ? "do_Configure with a document" : "do_Configure without a document");
    return request->SendSuccess(nullptr);
  }
  void do_Release() override {
    Tell("do_Release");
    delete this;
  }
};

class WorkingPlugin : public kaeCPPlugin {
 public:
  ~WorkingPlugin() override { Tell("plug-in destroyed"); }
  std::string GetName() const override { return "test plug-in"; }
  std::string GetVersion() const override { return "1.0"; }
  bool InitPlugin() override {
    Tell("InitPlugin");
    return true;
  }
  void CleanupPlugin() override { Tell("CleanupPlugin"); }
  kaeCPLayer* GetNewLayer() override {
    Tell("GetNewLayer");
    return new WorkingLayer;
  }
};

template <class Layer>
class PluginOf : public WorkingPlugin {
 public:
  kaeCPLayer* GetNewLayer() override { return new Layer; }
};
