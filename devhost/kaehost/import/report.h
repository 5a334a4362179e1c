#pragma once

#include "devhost/kaehost/import/sysctl_to_document.h"
#include "devhost/kaehost/text/json.h"

namespace devhost {

// Prints on standard error, for people, which lines need attention, and which defaults the plug-in
// will write.
void Tell(const Imported& imported);

// Returns the document and the same facts as a JSON document. `status` is kaehost's exit status.
Json ToJson(const Imported& imported, int status);

}  // namespace devhost
