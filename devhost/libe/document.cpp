#include "devhost/libe/document.h"

#include <fcntl.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace devhost {
namespace {

const char* Chars(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

// Keeps the first error of a parse, which is the one that explains the others. A prefix that is not
// declared is none: names count as they are written.
struct FirstError {
  int line = 0;
  std::string text;

  static void Take(void* self, xmlErrorPtr error) {
    auto& first = *static_cast<FirstError*>(self);
    if (first.text.empty() && error->level >= XML_ERR_ERROR &&
        error->domain != XML_FROM_NAMESPACE) {
      first.line = error->line;
      first.text = error->message;
      first.text.erase(first.text.find_last_not_of('\n') + 1);
      std::replace(first.text.begin(), first.text.end(), '\n', ' ');
    }
  }
};

std::string NameAsWritten(const xmlNode& node) {
  const bool has_prefix = node.ns != nullptr && node.ns->prefix != nullptr;
  return (has_prefix ? std::string(Chars(node.ns->prefix)) + ':' : std::string()) +
         Chars(node.name);
}

// Opens a file for reading; a folder opens too, but no document can be read from it.
int OpenFile(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0 || read(fd, nullptr, 0) < 0) {
    const int error = errno;
    close(fd);
    throw DocumentError(path + ": cannot be read: " + std::strerror(error));
  }
  return fd;
}

// Recursion follows the document's depth, which the parser limits to some 256.
void AddNodes(Document* document, kaml_content* parent, const xmlNode* first) {
  for (const xmlNode* node = first; node != nullptr; node = node->next) {
    switch (node->type) {
      case XML_ELEMENT_NODE:
        AddNodes(document, document->AddElement(parent, NameAsWritten(*node).c_str()),
                 node->children);
        break;
      case XML_TEXT_NODE:
        document->AddText(parent, Chars(node->content));
        break;
      case XML_COMMENT_NODE:
        document->AddOther(parent, kComment);
        break;
      case XML_PI_NODE:
        document->AddOther(parent, kProcessingInstruction);
        break;
      case XML_ENTITY_REF_NODE:
        document->AddOther(parent, kEntityReference);
        break;
      default:  // the document type declaration, which is no content
        break;
    }
  }
}

}  // namespace

Document Document::Read(const std::string& path) {
  const int fd = OpenFile(path);
  FirstError error;
  xmlSetStructuredErrorFunc(&error, FirstError::Take);
  const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> xml(
      xmlReadFd(fd, path.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_NOCDATA), xmlFreeDoc);
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  close(fd);
  if (xml == nullptr || !error.text.empty()) {
    throw DocumentError(path + ":" + std::to_string(error.line) +
                        ": cannot be read as XML: " + error.text);
  }
  Document document;
  AddNodes(&document, nullptr, xml->children);
  return document;
}

kaml_content* Document::AddElement(kaml_content* parent, const char* name) {
  return Add(parent, {kElement, kaml_intern(name), {}});
}

kaml_content* Document::AddText(kaml_content* parent, const char* text) {
  return Add(parent, {kText, nullptr, text});
}

kaml_content* Document::AddOther(kaml_content* parent, int type) {
  return Add(parent, {type, nullptr, {}});
}

kaml_content* Document::Add(kaml_content* parent, kaml_content content) {
  if (contents_.empty()) {
    contents_.push_back({kElement, nullptr, {}});
  }
  kaml_content& siblings = parent != nullptr ? *parent : contents_.front();
  kaml_content* added = &contents_.emplace_back(std::move(content));
  (siblings.last_child != nullptr ? siblings.last_child->next : siblings.first_child) = added;
  siblings.last_child = added;
  return added;
}

}  // namespace devhost
