#include "devhost/kaehost/check/schema_module.h"

#include <libxml/parser.h>
#include <libxml/relaxng.h>

#include <memory>
#include <new>
#include <string>

#include "devhost/kaehost/check/schema_text.h"

namespace devhost {
namespace {

template <class Object, void Free(Object*)>
struct Freed {
  void operator()(Object* object) const { Free(object); }
};
template <class Object, void Free(Object*)>
using Owned = std::unique_ptr<Object, Freed<Object, Free>>;

template <class Object>
Object* NotNull(Object* object) {
  if (object == nullptr) {
    throw std::bad_alloc();
  }
  return object;
}

using Grammar = Owned<xmlRelaxNG, xmlRelaxNGFree>;

Grammar NewGrammar() {
  const Owned<xmlRelaxNGParserCtxt, xmlRelaxNGFreeParserCtxt> parser(
      NotNull(xmlRelaxNGNewMemParserCtxt(kSchemaText, sizeof kSchemaText - 1)));
  return Grammar(NotNull(xmlRelaxNGParse(parser.get())));
}

// Without memory, the library can crash here. The grammar and a document without other findings
// need a quarter of this.
void MakeSureOfMemory() {
  constexpr std::size_t kEnough = std::size_t{1} << 20;
  xmlFree(NotNull(xmlMalloc(kEnough)));
}

// The position of a finding whose position is not known yet.
constexpr Position kNowhere = {1, 1};

// The schema allows no elements below a value's element, so deeper levels need not be copied.
constexpr int kLevels = 2;

const xmlChar* Chars(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

// Adds a copy of the element as a node of the XML library, with all of its text in one node. The
// schema does not look at comments, nor at the position of text among elements.
void AddCopy(xmlNode* parent, const kaml_content& element, int levels) {
  xmlNode* copy = xmlAddChild(parent, NotNull(xmlNewNode(nullptr, Chars(element.name()))));
  copy->_private = const_cast<kaml_content*>(&element);
  std::string text;
  for (const kaml_content* c = element.first_child(); c != nullptr; c = c->next()) {
    if (c->type() == kText) {
      text += c->text();
    } else if (c->type() == kElement && levels > 0) {
      AddCopy(copy, *c, levels - 1);
    }
  }
  if (!text.empty()) {
    xmlAddChild(copy, NotNull(xmlNewText(Chars(text.c_str()))));
  }
}

using Tree = Owned<xmlDoc, xmlFreeDoc>;

Tree NewTree(const Document& document) {
  Tree tree(NotNull(xmlNewDoc(nullptr)));
  for (const kaml_content* c = document.contents(); c != nullptr; c = c->next()) {
    if (c->type() == kElement) {
      AddCopy(reinterpret_cast<xmlNode*>(tree.get()), *c, kLevels);
    }
  }
  return tree;
}

// Keeps the first sentence of the library, which explains the most. If it has no position, a later
// one may have it.
void TakeError(void* findings, xmlErrorPtr error) {
  auto& found = *static_cast<std::vector<Finding>*>(findings);
  if (found.empty()) {
    std::string sentence = error->message;
    sentence.erase(sentence.find_last_not_of('\n') + 1);
    found.push_back({kNowhere, sentence + "; write the element as the schema requires"});
  }
  const auto* node = static_cast<const xmlNode*>(error->node);
  if (found[0].position.line == kNowhere.line && node != nullptr && node->_private != nullptr) {
    found[0].position = static_cast<const kaml_content*>(node->_private)->begin();
  }
}

}  // namespace
}  // namespace devhost

using namespace devhost;

[[gnu::visibility("default")]] void kaehost_add_schema_findings(const Document& document,
                                                                std::vector<Finding>* findings) {
  xmlSetStructuredErrorFunc(nullptr, [](void* /*context*/, xmlErrorPtr /*error*/) {});
  MakeSureOfMemory();
  const Tree tree = NewTree(document);
  const Grammar grammar = NewGrammar();
  const Owned<xmlRelaxNGValidCtxt, xmlRelaxNGFreeValidCtxt> validation(
      NotNull(xmlRelaxNGNewValidCtxt(grammar.get())));
  xmlRelaxNGSetValidStructuredErrors(validation.get(), TakeError, findings);
  if (xmlRelaxNGValidateDoc(validation.get(), tree.get()) < 0) {
    throw std::bad_alloc();
  }
}
