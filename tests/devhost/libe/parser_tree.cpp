#include "tests/devhost/libe/parser_tree.h"

#include <expat.h>

#include <algorithm>
#include <memory>
#include <regex>

namespace {

struct State {
  bool is_sound = true;
  bool is_in_text = false;
  std::vector<std::string> lines;

  void AddText(const std::string& text) {
    if (!is_in_text) {
      lines.emplace_back("''");
    }
    is_in_text = true;
    lines.back().insert(lines.back().size() - 1, text);
  }
  void AddLine(const std::string& line) {
    is_in_text = false;
    lines.push_back(line);
  }
};

State& The(void* state) { return *static_cast<State*>(state); }

void SetHandlers(XML_Parser parser) {
  XML_SetElementHandler(
      parser,
      [](void* state, const char* name, const char** /*attributes*/) { The(state).AddLine(name); },
      [](void* state, const char* /*name*/) { The(state).AddLine(""); });
  XML_SetCharacterDataHandler(parser, [](void* state, const char* text, int size) {
    The(state).AddText({text, static_cast<std::size_t>(size)});
  });
  XML_SetStartCdataSectionHandler(parser, [](void* state) { The(state).AddText(""); });
  // What is in the document type declaration is no content.
  XML_SetStartDoctypeDeclHandler(
      parser, [](void* state, const char* /*name*/, const char* /*system_id*/,
                 const char* /*public_id*/, int /*has_subset*/) { The(state).AddLine("(type)"); });
  XML_SetEndDoctypeDeclHandler(parser, [](void* state) {
    std::vector<std::string>& lines = The(state).lines;
    lines.erase(std::find(lines.begin(), lines.end(), "(type)"), lines.end());
  });
  XML_SetCommentHandler(parser,
                        [](void* state, const char* /*text*/) { The(state).AddLine("(comment)"); });
  XML_SetProcessingInstructionHandler(
      parser, [](void* state, const char* /*target*/, const char* /*text*/) {
        The(state).AddLine("(instruction)");
      });
  XML_SetSkippedEntityHandler(parser, [](void* state, const char* /*name*/, int is_parameter) {
    The(state).is_sound = The(state).is_sound && is_parameter != 0;
  });
  // It takes any version.
  XML_SetXmlDeclHandler(
      parser, [](void* state, const char* version, const char* /*encoding*/, int /*standalone*/) {
        The(state).is_sound = std::regex_match(version, std::regex("1\\.[0-9]+"));
      });
}

}  // namespace

ParserTree::ParserTree(const char* bytes, std::size_t size) {
  State state;
  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
      XML_ParserCreate(nullptr), XML_ParserFree);
  XML_SetUserData(parser.get(), &state);
  SetHandlers(parser.get());
  is_sound_ =
      XML_Parse(parser.get(), bytes, static_cast<int>(size), 1) == XML_STATUS_OK && state.is_sound;
  is_in_doubt_ = XML_GetErrorCode(parser.get()) == XML_ERROR_UNKNOWN_ENCODING ||
                 std::any_of(bytes, bytes + size, [](char byte) { return (byte & '\x80') != 0; });
  lines_ = std::move(state.lines);
  lines_.emplace_back();
}
