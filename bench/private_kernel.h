#pragma once

#include <memory>
#include <string>
#include <vector>

#include "devhost/libe/document.h"
#include "tests/kernel/built_layer.h"
#include "tests/system_calls/trace.h"

// The environment of the benchmarks: a private namespace on this machine's kernel.
namespace bench {

// Goes on in a child in that namespace, with a process namespace of its own. Traces a layer's life
// first, because a tracer needs its own namespace.
void EnterPrivateKernel();

// Mounts a new proc file system on /proc.
void MountProc();

// Mounts scratch files over core/rmem_max and core/wmem_max of the current network namespace.
void MakeCoreFilesWritable();

// The traced system calls of each step of a layer's life.
const std::vector<SystemCall>& CallsOf(const std::string& step);

// The document of the traced request.
devhost::Document TracedDocument();

}  // namespace bench
