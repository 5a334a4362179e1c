#pragma once

#include "devhost/kaehost/import/sysctl_to_document.h"
#include "devhost/kaehost/text/json.h"

namespace devhost {

// Tells people on standard error what the document does not carry, and, unless `quiet`, which
// defaults the plug-in will write.
void Tell(const Imported& imported, bool quiet);

// Answers the document and the same as a JSON document. `status` is what kaehost ends with.
Json ToJson(const Imported& imported, int status);

}  // namespace devhost
