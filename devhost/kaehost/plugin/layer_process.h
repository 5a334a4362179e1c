#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "devhost/kaehost/plugin/plugin_error.h"
#include "devhost/kaehost/plugin/trace.h"
#include "devhost/kaehost/process/worker.h"
#include "devhost/libe/document.h"
#include "devhost/libe/request.h"

namespace devhost {

// What a layer did with a request.
struct LayerReply {
  Reply reply = Reply::kNone;
  std::string error;  // the two texts of an error reply
  std::string detail;
  bool answered_again = false;        // whether there was more than one reply
  std::optional<std::string> thrown;  // what do_Configure threw, if it threw

  bool operator==(const LayerReply&) const = default;
};

// Where the layers of a process are made.
struct LayerPlaces {
  std::size_t count = 1;  // a layer in each

  // Is called before each call into the layer of the place, from 0. What it throws ends the
  // process.
  std::function<void(std::size_t place)> enter = [](std::size_t /*place*/) {};
};

// A plug-in and its layers, in a process of their own. If this process dies, that one releases the
// layers, unloads the plug-in and ends.
class LayerProcess {
 public:
  // Begins to load the plug-in at `path`. `documents` are those that Configure can deliver.
  LayerProcess(const std::string& path, const std::vector<Document>& documents,
               const LayerPlaces& places, const Watch& watch, Interruption& interruption);

  // Waits until the plug-in is loaded. Returns its name and version. Throws PluginError.
  std::string AwaitPlugin();

  // Begins to make all layers.
  void BeginMaking() const { worker_.Order(0); }

  // Waits until the next layer is made, in the order of the places. Throws PluginError.
  void AwaitLayer();

  // Begins to deliver a document to a layer, after all are made.
  void BeginRequest(std::size_t place, std::size_t document) const;

  // Waits for the reply to the next request that was begun. Returns none if the process ended
  // instead.
  std::optional<LayerReply> AwaitReply();

  // Begins to release all layers.
  void BeginRelease() const { worker_.EndOrders(); }

  // Waits until the next layer is released, in the order of the places. Returns what do_Release
  // threw, if it threw.
  std::optional<std::string> AwaitRelease();

  // Returns how many layers are known to be released.
  std::size_t released() const { return released_; }

  // After that: unloads the plug-in and waits for the end of the process.
  void AwaitEnd();

  // Returns how the process ended, if it ended before all that was done.
  std::optional<std::string> AboutEnd();

  Worker& worker() { return worker_; }

 private:
  template <class Read>
  std::optional<std::invoke_result_t<Read, const Json&>> Answer(Read read);
  template <class Read>
  auto AnswerOfLoading(Read read);

  const std::string path_;
  const std::size_t document_count_;
  Worker worker_;
  std::size_t released_ = 0;
  bool has_done_all_ = false;
};

}  // namespace devhost
