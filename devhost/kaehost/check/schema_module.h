#pragma once

#include <vector>

#include "devhost/kaehost/check/findings.h"

// The library kaehost_schema.so. It needs libxml2, which takes longer to load than most commands to
// run, so only FindingsOfSchema loads it.
extern "C" {

// Adds the first error that validation against the schema finds. Throws std::bad_alloc.
void kaehost_add_schema_findings(const devhost::Document& document,
                                 std::vector<devhost::Finding>* findings);
}
