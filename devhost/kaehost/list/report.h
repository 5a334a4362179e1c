#pragma once

#include <string>
#include <vector>

#include "devhost/kaehost/list/listing.h"
#include "devhost/kaehost/text/json.h"

namespace devhost {

// Prints a table of the elements, one a line.
void TellTable(const std::vector<ListedElement>& elements);

// Prints all that is known of each element, in several lines.
void TellEach(const std::vector<ListedElement>& elements);

// Prints on standard error each file that cannot be read.
void TellUnread(const std::vector<ListedElement>& elements);

// Returns a document that names the elements with the values of now, without those that have none.
std::string DocumentOf(const std::vector<ListedElement>& elements);

// Returns the elements as a JSON document.
Json ToJson(const std::vector<ListedElement>& elements, int status);

}  // namespace devhost
