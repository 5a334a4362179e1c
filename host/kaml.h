// The host's document functions, as the host library exports them.
//
// A document reaches the plug-in as a list of contents. A content belongs to the host: the plug-in
// never creates, changes or frees one, and keeps no pointer to one beyond the call that brought it.
// Every text that a function answers is NUL-terminated and belongs to the host.

#pragma once

#pragma GCC visibility push(default)

extern "C" {

// One node of a document; only the host knows what is inside.
struct kaml_content;

// Answers the one pointer that stands for `text`: the same pointer for equal texts, valid for the
// life of the host. Names are compared by this pointer, never by their text. May throw.
const char* kaml_intern(const char* text);

// Answers the type of `content`: 1 for an element, 0 for a text, any other value for another kind.
int kaml_cont_type(const kaml_content* content);

// Answers the next sibling of `content`, or null after the last.
const kaml_content* kaml_cont_next(const kaml_content* content);

// Answers the interned name of `content`. Accepts contents that are no elements too; what they are
// called is the host's choice, and it may be null.
const char* kaml_elem_name(const kaml_content* content);

// Answers the first child of the element `content`, or null when it has none.
const kaml_content* kaml_elem_contents(const kaml_content* content);

// Answers the text of the text content `content`, never null, valid as long as the content itself.
const char* kaml_text(const kaml_content* content);

}  // extern "C"

#pragma GCC visibility pop
