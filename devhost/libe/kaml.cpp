// Implements the document functions that give access to contents.

#include "host/kaml.h"

#include "devhost/libe/document.h"
#include "devhost/libe/observer.h"

using devhost::Observed;

int kaml_cont_type(const kaml_content* content) {
  return Observed("kaml_cont_type", content, int{content->type()});
}

const kaml_content* kaml_cont_next(const kaml_content* content) {
  return Observed<const kaml_content*>("kaml_cont_next", content, content->next());
}

const char* kaml_elem_name(const kaml_content* content) {
  return Observed("kaml_elem_name", content, content->name());
}

const kaml_content* kaml_elem_contents(const kaml_content* content) {
  return Observed<const kaml_content*>("kaml_elem_contents", content, content->first_child());
}

const char* kaml_text(const kaml_content* content) {
  return Observed("kaml_text", content, content->text());
}
