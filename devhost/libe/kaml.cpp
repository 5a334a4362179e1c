// Implements the document functions that give access to contents.

#include "host/kaml.h"

#include "devhost/libe/document.h"

int kaml_cont_type(const kaml_content* content) { return content->type; }

const kaml_content* kaml_cont_next(const kaml_content* content) { return content->next; }

const char* kaml_elem_name(const kaml_content* content) { return content->name; }

const kaml_content* kaml_elem_contents(const kaml_content* content) { return content->first_child; }

const char* kaml_text(const kaml_content* content) { return content->text.c_str(); }
