#include <libxml/parser.h>
#include <libxml/relaxng.h>

#include <algorithm>
#include <memory>
#include <new>

#include "devhost/kaehost/findings.h"
#include "devhost/kaehost/schema_text.h"

namespace devhost {
namespace {

template <class Object, void Free(Object*)>
struct Freed {
  void operator()(Object* object) const { Free(object); }
};
template <class Object, void Free(Object*)>
using Owned = std::unique_ptr<Object, Freed<Object, Free>>;

using Grammar = Owned<xmlRelaxNG, xmlRelaxNGFree>;

Grammar NewGrammar() {
  const Owned<xmlRelaxNGParserCtxt, xmlRelaxNGFreeParserCtxt> parser(
      xmlRelaxNGNewMemParserCtxt(kSchemaText, sizeof kSchemaText - 1));
  Grammar grammar(xmlRelaxNGParse(parser.get()));
  if (grammar == nullptr) {
    throw std::bad_alloc();
  }
  return grammar;
}

// The library's sentences say little, the further ones less than the first.
void TakeError(void* findings, xmlErrorPtr error) {
  auto& found = *static_cast<std::vector<Finding>*>(findings);
  if (found.empty()) {
    std::string sentence = error->message;
    sentence.erase(sentence.find_last_not_of('\n') + 1);
    found.push_back({
        {std::max(error->line, 1), 1},
        sentence + "; write the element as the schema has it"
    });
  }
}

const kaml_content* NextElement(const kaml_content* content) {
  while (content != nullptr && content->type != kElement) {
    content = content->next;
  }
  return content;
}

// Elements of the file and of the document come in the same order.
void FindAttributes(const xmlNode* node, const kaml_content* element,
                    std::vector<Finding>* findings) {
  if (element == nullptr) {
    throw DocumentError("the file has changed meanwhile; check it again");
  }
  if (node->properties != nullptr || node->nsDef != nullptr) {
    findings->push_back(
        {element->begin, std::string(element->name) + ": attributes are passed over; remove them"});
  }
  const kaml_content* child = NextElement(element->first_child);
  for (const xmlNode* n = xmlFirstElementChild(const_cast<xmlNode*>(node)); n != nullptr;
       n = xmlNextElementSibling(const_cast<xmlNode*>(n))) {
    FindAttributes(n, child, findings);
    child = NextElement(child->next);
  }
}

}  // namespace

std::vector<Finding> FindingsOfSchema(const std::string& path, const Document& document) {
  const Owned<xmlDoc, xmlFreeDoc> file(
      xmlReadFile(path.c_str(), nullptr,
                  XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
  if (file == nullptr) {
    throw DocumentError(path + ": has changed meanwhile; check it again");
  }
  std::vector<Finding> findings;
  FindAttributes(xmlDocGetRootElement(file.get()), NextElement(document.contents()), &findings);
  if (findings.empty()) {
    const Grammar grammar = NewGrammar();
    const Owned<xmlRelaxNGValidCtxt, xmlRelaxNGFreeValidCtxt> validation(
        xmlRelaxNGNewValidCtxt(grammar.get()));
    xmlRelaxNGSetValidStructuredErrors(validation.get(), TakeError, &findings);
    xmlRelaxNGValidateDoc(validation.get(), file.get());
  }
  return findings;
}

}  // namespace devhost
