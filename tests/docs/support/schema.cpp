#include "tests/docs/support/schema.h"

#include <libxml/parser.h>
#include <libxml/relaxng.h>
#include <libxml/tree.h>

#include <stdexcept>

namespace {

using XmlDocument = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

XmlDocument NonNull(xmlDocPtr document, const std::string& what) {
  if (document == nullptr) {
    throw std::runtime_error(what + " is no XML");
  }
  return {document, xmlFreeDoc};
}

std::string NameOf(const xmlNode* node) { return reinterpret_cast<const char*>(node->name); }

std::string TextOf(const xmlNode* node) {
  xmlChar* content = xmlNodeGetContent(node);
  std::string text = reinterpret_cast<const char*>(content);
  xmlFree(content);
  return text;
}

std::string TextOfChild(const xmlNode* node, const std::string& name) {
  for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE && NameOf(child) == name) {
      return TextOf(child);
    }
  }
  return "";
}

void CollectElements(const xmlNode* node, std::vector<Schema::Element>* elements) {
  if (node->type == XML_ELEMENT_NODE && NameOf(node) == "element") {
    elements->push_back({TextOfChild(node, "name"), TextOfChild(node, "documentation")});
  }
  for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
    CollectElements(child, elements);
  }
}

void IgnoreError(void* /*context*/, xmlErrorPtr /*error*/) {}

}  // namespace

struct Schema::Grammar {
  explicit Grammar(const std::string& path) {
    xmlRelaxNGParserCtxtPtr parser = xmlRelaxNGNewParserCtxt(path.c_str());
    grammar = xmlRelaxNGParse(parser);
    xmlRelaxNGFreeParserCtxt(parser);
    if (grammar == nullptr) {
      throw std::runtime_error(path + " is no RELAX NG schema");
    }
  }
  ~Grammar() { xmlRelaxNGFree(grammar); }
  Grammar(const Grammar&) = delete;
  Grammar& operator=(const Grammar&) = delete;

  xmlRelaxNGPtr grammar;
};

Schema::Schema(const std::string& path) : grammar_(std::make_unique<const Grammar>(path)) {
  const XmlDocument document = NonNull(xmlReadFile(path.c_str(), nullptr, 0), path);
  CollectElements(xmlDocGetRootElement(document.get()), &elements_);
}

Schema::~Schema() = default;

bool Schema::Allows(const std::string& document) const {
  const XmlDocument parsed = NonNull(
      xmlReadMemory(document.data(), static_cast<int>(document.size()), nullptr, nullptr, 0),
      document);
  xmlRelaxNGValidCtxtPtr validation = xmlRelaxNGNewValidCtxt(grammar_->grammar);
  xmlRelaxNGSetValidStructuredErrors(validation, IgnoreError, nullptr);
  const int result = xmlRelaxNGValidateDoc(validation, parsed.get());
  xmlRelaxNGFreeValidCtxt(validation);
  return result == 0;
}
