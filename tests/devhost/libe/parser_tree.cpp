#include "tests/devhost/libe/parser_tree.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>

namespace {

// What namespaces and document types forbid is well-formed nevertheless.
void TakeError(void* is_sound, xmlErrorPtr error) {
  if (error->level >= XML_ERR_ERROR && error->domain != XML_FROM_NAMESPACE &&
      error->domain != XML_FROM_VALID) {
    *static_cast<bool*>(is_sound) = false;
  }
}

std::string Chars(const xmlChar* text) {
  return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

std::string Show(const xmlNode& node) {
  switch (node.type) {
    case XML_ELEMENT_NODE:
      return Chars(node.name);
    case XML_TEXT_NODE:
      return "'" + Chars(node.content) + "'";
    case XML_COMMENT_NODE:
      return "(comment)";
    case XML_PI_NODE:
      return "(instruction)";
    default:
      return "(" + std::to_string(node.type) + ")";
  }
}

}  // namespace

ParserTree::ParserTree(const char* bytes, std::size_t size) {
  xmlSetStructuredErrorFunc(&is_sound_, TakeError);
  const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> tree(
      xmlReadMemory(bytes, static_cast<int>(size), nullptr, nullptr,
                    XML_PARSE_HUGE | XML_PARSE_NONET | XML_PARSE_NOCDATA),
      xmlFreeDoc);
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  is_sound_ = is_sound_ && tree != nullptr;
  if (!is_sound_) {
    return;
  }
  std::vector<const xmlNode*> next = {tree->children};
  while (!next.empty()) {
    const xmlNode* node = next.back();
    if (node == nullptr) {
      next.pop_back();
      lines_.emplace_back();
      continue;
    }
    next.back() = node->next;
    if (node->type != XML_DTD_NODE) {
      lines_.push_back(Show(*node));
    }
    if (node->type == XML_ELEMENT_NODE) {
      next.push_back(node->children);
    }
  }
}
