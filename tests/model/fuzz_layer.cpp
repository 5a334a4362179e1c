// Scenarios from a fuzzer: its bytes make the decisions of a random scenario. If the built library
// and the model differ, prints the reduced scenario and aborts.
//
// The seed corpus in corpus/layer is a small part of 1,500 files of 300 to 500 random bytes, with
// the same coverage as all of them: fuzz_layer -merge=1 -use_counters=0 corpus/layer FOLDER.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "devhost/kaehost/kernel/namespaces.h"
#include "tests/model/generator/generate.h"
#include "tests/model/player/play.h"
#include "tests/model/predictor/predict.h"
#include "tests/model/reporter/explain.h"
#include "tests/support/namespace.h"

namespace {

model::Player* g_player = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
  try {
    EnterPrivateNamespace();
    g_player = new model::Player;
  } catch (const devhost::NamespaceError& error) {
    std::exit(Skip(error.what()));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "fuzz_layer: %s\n", error.what());
    std::exit(EXIT_FAILURE);
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  model::Choices choices = model::Choices::FromBytes(bytes, size);
  const model::Scenario scenario = model::Generate(choices);
  if (g_player->Play(scenario) != model::Predict(scenario)) {
    std::fputs(model::ExplainDifference(*g_player, scenario).c_str(), stderr);
    std::abort();
  }
  return 0;
}
