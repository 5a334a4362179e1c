#include "devhost/kaehost/plugin/layer_process.h"

#include <unistd.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "devhost/kaehost/plugin/plugin.h"
#include "devhost/kaehost/plugin/trace.h"
#include "devhost/kaehost/text/output.h"

namespace devhost {
namespace {

// In the process of the plug-in.

Json Configured(const Layer& layer, const Document& document) {
  Request request;
  Json answer = Json::object();
  try {
    Traced("do_Configure", {"request", TextOf(document.contents())},
           [&] { return layer.configure->do_Configure(&request, document.contents()); });
  } catch (...) {
    answer["thrown"] = Thrown();
  }
  answer["reply"] = request.reply();
  answer["error"] = request.error();
  answer["detail"] = request.detail();
  answer["answered_again"] = request.answered_again();
  return answer;
}

Json Released(const Layer& layer) {
  try {
    Traced("do_Release", {}, [&layer] { return layer.release->do_Release(), Nothing(); });
  } catch (...) {
    return {
        {"thrown", Thrown()}
    };
  }
  return Json::object();
}

// A call into the layer of another place would write to the wrong tunables.
void EnterOrEnd(const LayerPlaces& places, std::size_t place) {
  try {
    places.enter(place);
  } catch (const std::exception& error) {
    // The other process may show a passing line.
    Errors() << (KnowsEscapes(STDERR_FILENO) ? kClearLine : "");
    TellError(error.what());
    _exit(EXIT_FAILURE);
  }
}

// The first order makes the layers. Each of the others delivers a document to one of them.
void LeadLives(const Plugin& plugin, const std::vector<Document>& documents,
               const LayerPlaces& places, const Worker::Orders& orders) {
  std::string name = plugin.name();
  name += ", version " + plugin.version();  // after the name with each compiler
  orders.Answer({
      {"plugin", name}
  });
  std::vector<Layer> layers;
  if (orders.Next()) {
    for (std::size_t place = 0; place < places.count && !orders.HaveEnded(); ++place) {
      EnterOrEnd(places, place);
      layers.push_back(plugin.NewLayer());
      orders.Answer(Json::object());
    }
  }
  while (const std::optional<int> order = orders.Next()) {
    const auto number = static_cast<std::size_t>(*order);
    const std::size_t place = number / documents.size();
    EnterOrEnd(places, place);
    orders.Answer(Configured(layers[place], documents[number % documents.size()]));
  }
  for (std::size_t place = 0; place < layers.size(); ++place) {
    EnterOrEnd(places, place);
    orders.Answer(Released(layers[place]));
  }
}

// The last answer comes after the plug-in is unloaded.
void Serve(const std::string& path, const std::vector<Document>& documents,
           const LayerPlaces& places, const Watch& watch, const Worker::Orders& orders) {
  Json last = Json::object();
  try {
    StartWatch(watch);
    LeadLives(Plugin(path), documents, places, orders);
  } catch (const PluginError& error) {
    last["refused"] = error.what();
  }
  if (watch.at_end && !last.contains("refused")) {
    watch.at_end();
  }
  orders.Answer(last);
  if (watch.IsNeeded()) {
    _exit(EXIT_SUCCESS);  // the thread that opens files needs what exit destroys
  }
}

std::optional<std::string> Thrown(const Json& answer) {
  return answer.contains("thrown") ? std::optional(answer["thrown"].get<std::string>())
                                   : std::nullopt;
}

}  // namespace

LayerProcess::LayerProcess(const std::string& path, const std::vector<Document>& documents,
                           const LayerPlaces& places, const Watch& watch,
                           Interruption& interruption)
    : path_(path),
      document_count_(documents.size()),
      worker_([&](const Worker::Orders& orders) { Serve(path, documents, places, watch, orders); },
              interruption) {}

// Returns what `read` makes of the next answer; none if the process ended instead. A plug-in can
// write to any descriptor: what is not an answer counts as the end of the process.
template <class Read>
std::optional<std::invoke_result_t<Read, const Json&>> LayerProcess::Answer(Read read) {
  try {
    if (const std::optional<Json> answer = worker_.Answer()) {
      return read(*answer);
    }
  } catch (const Json::exception&) {
  }
  worker_.HasEndedWell();
  return std::nullopt;
}

template <class Read>
auto LayerProcess::AnswerOfLoading(Read read) {
  const auto answer = Answer([&read](const Json& json) {
    if (json.contains("refused")) {
      throw PluginError(json["refused"].get<std::string>());
    }
    return read(json);
  });
  if (!answer) {
    throw PluginError(path_ + ": the plug-in does not load: its process " + worker_.AboutEnd());
  }
  return *answer;
}

std::string LayerProcess::AwaitPlugin() {
  return AnswerOfLoading([](const Json& answer) { return answer.at("plugin").get<std::string>(); });
}

void LayerProcess::AwaitLayer() {
  AnswerOfLoading([](const Json& answer) { return answer.is_object(); });
}

void LayerProcess::BeginRequest(std::size_t place, std::size_t document) const {
  worker_.Order(static_cast<int>(place * document_count_ + document));
}

std::optional<LayerReply> LayerProcess::AwaitReply() {
  return Answer([](const Json& answer) {
    return LayerReply{answer.at("reply").get<Reply>(), answer.at("error").get<std::string>(),
                      answer.at("detail").get<std::string>(),
                      answer.at("answered_again").get<bool>(), Thrown(answer)};
  });
}

std::optional<std::string> LayerProcess::AwaitRelease() {
  const auto thrown = Answer([](const Json& answer) { return Thrown(answer); });
  released_ += thrown ? 1U : 0U;
  return thrown.value_or(std::nullopt);
}

void LayerProcess::AwaitEnd() {
  const auto last = Answer([](const Json& answer) { return answer.is_object(); });
  has_done_all_ = worker_.HasEndedWell() && last;
}

std::optional<std::string> LayerProcess::AboutEnd() {
  return worker_.HasEnded() && !has_done_all_ ? std::optional(worker_.AboutEnd()) : std::nullopt;
}

}  // namespace devhost
