#include "tests/devhost/libe/parser_tree.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <memory>

namespace {

struct State {
  xmlParserCtxt* parser;
  bool is_sound = true;
  bool is_in_text = false;
  std::vector<std::string> lines;

  void AddText(const xmlChar* text, int size) {
    if (!is_in_text) {
      lines.emplace_back("''");
    }
    is_in_text = true;
    lines.back().insert(lines.back().size() - 1, reinterpret_cast<const char*>(text),
                        static_cast<std::size_t>(size));
  }
  // What is in the document type declaration is no content.
  void AddLine(const std::string& line) {
    is_in_text = false;
    if (parser->inSubset == 0) {
      lines.push_back(line);
    }
  }
};

State& The(void* state) { return *static_cast<State*>(state); }

xmlSAXHandler Handler() {
  xmlSAXHandler handler = {};
  handler.startElement = [](void* state, const xmlChar* name, const xmlChar** /*attributes*/) {
    The(state).AddLine(reinterpret_cast<const char*>(name));
  };
  handler.endElement = [](void* state, const xmlChar* /*name*/) { The(state).AddLine(""); };
  handler.characters = [](void* state, const xmlChar* text, int size) {
    The(state).AddText(text, size);
  };
  handler.comment = [](void* state, const xmlChar* /*text*/) { The(state).AddLine("(comment)"); };
  handler.processingInstruction = [](void* state, const xmlChar* /*target*/,
                                     const xmlChar* /*data*/) {
    The(state).AddLine("(instruction)");
  };
  return handler;
}

// The other errors are of namespaces, which have no meaning here, or of validity.
void TakeError(void* state, xmlErrorPtr error) {
  The(state).is_sound =
      The(state).is_sound && error->level != XML_ERR_FATAL &&
      !(error->level == XML_ERR_ERROR && error->code == XML_WAR_UNDECLARED_ENTITY);
}

// It stops at a NUL byte, and at bytes that it cannot decode, as if the document ended there.
bool IsAtEnd(const xmlParserInput& input) {
  return input.cur == input.end && (input.buf->raw == nullptr || xmlBufUse(input.buf->raw) == 0);
}

bool IsOfAllParsers(const xmlChar* encoding) {
  constexpr std::array kOfAllParsers = {"UTF-8",    "UTF-16",     "UTF-16LE",
                                        "UTF-16BE", "ISO-8859-1", "US-ASCII"};
  return encoding == nullptr ||
         std::any_of(kOfAllParsers.begin(), kOfAllParsers.end(), [encoding](const char* known) {
           return strcasecmp(reinterpret_cast<const char*>(encoding), known) == 0;
         });
}

}  // namespace

ParserTree::ParserTree(const std::string& bytes) {
  const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> parser(
      xmlCreateMemoryParserCtxt(bytes.data(), static_cast<int>(bytes.size())), xmlFreeParserCtxt);
  if (parser == nullptr) {  // no byte
    is_sound_ = false;
    return;
  }
  State state = {.parser = parser.get(), .lines = {}};
  *parser->sax = Handler();
  parser->userData = &state;
  xmlCtxtUseOptions(parser.get(), XML_PARSE_HUGE);
  parser->hasPErefs = 1;  // a reference to an unknown parameter entity is well-formed
  xmlSetStructuredErrorFunc(&state, TakeError);
  xmlParseDocument(parser.get());
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  is_sound_ = state.is_sound && IsAtEnd(*parser->input);
  is_comparable_ = IsOfAllParsers(parser->encoding) && IsOfAllParsers(parser->input->encoding);
  lines_ = std::move(state.lines);
  lines_.emplace_back();
  xmlFreeDoc(parser->myDoc);  // exists if the document ended inside its entity declarations
}
