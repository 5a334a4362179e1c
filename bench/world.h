#pragma once

#include <memory>
#include <string>
#include <vector>

#include "devhost/libe/document.h"
#include "tests/kernel/built_layer.h"
#include "tests/system_calls/trace.h"

// Where the benchmarks take place: a private namespace on this machine's kernel, with core/rmem_max
// and core/wmem_max covered by scratch files.
namespace bench {

// Moves this process there. Also traces a layer's life first, since a tracer needs a namespace of
// its own.
void EnterWorld();

// The system calls of each step of a layer's life, as the tracer saw them.
const std::vector<SystemCall>& CallsOf(const std::string& step);

// The document that the traced life was led with.
devhost::Document TracedDocument();

}  // namespace bench
