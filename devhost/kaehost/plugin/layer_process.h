#pragma once

#include <cstddef>
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
};

// A layer of a plug-in, both in a process of their own. If this process dies, that one releases the
// layer, unloads the plug-in and ends.
class LayerProcess {
 public:
  // Begins to load the plug-in at `path`. `documents` are those that Configure can deliver.
  LayerProcess(const std::string& path, const std::vector<Document>& documents, const Watch& watch,
               Interruption& interruption);

  // Waits until the plug-in is loaded. Returns its name and version. Throws PluginError.
  std::string AwaitPlugin();

  // Lets the plug-in make its layer. Throws PluginError.
  void MakeLayer();

  // Delivers a document. Returns none if the process ended instead.
  std::optional<LayerReply> Configure(std::size_t document);

  // Releases the layer, unloads the plug-in and waits for the end of the process. Returns what
  // do_Release threw, if it threw.
  std::optional<std::string> Release();

  // Returns how the process ended, if it ended before Release did all that.
  std::optional<std::string> AboutEnd();

  Worker& worker() { return worker_; }

 private:
  template <class Read>
  std::optional<std::invoke_result_t<Read, const Json&>> Answer(Read read);
  template <class Read>
  auto AnswerOfLoading(Read read);

  const std::string path_;
  Worker worker_;
  bool is_released_ = false;
};

}  // namespace devhost
