#include "tests/devhost/support/nodes.h"

#include "devhost/libe/document.h"
#include "tests/devhost/support/temp_folder.h"

namespace {

std::string ShowKind(const kaml_content* content) {
  switch (kaml_cont_type(content)) {
    case devhost::kElement:
      return "";
    case devhost::kText:
      return std::string("'") + kaml_text(content) + "'";
    case devhost::kComment:
      return "(comment)";
    case devhost::kProcessingInstruction:
      return "(instruction)";
    default:
      return "(" + std::to_string(kaml_cont_type(content)) + ")";
  }
}

std::string Show(const kaml_content* content) {
  const char* name = kaml_elem_name(content);
  return (name != nullptr ? name : "") + ShowKind(content);
}

void Add(const kaml_content* first, const std::string& indent, std::vector<std::string>* nodes) {
  for (const kaml_content* content = first; content != nullptr; content = kaml_cont_next(content)) {
    nodes->push_back(indent + Show(content));
    Add(kaml_elem_contents(content), indent + "  ", nodes);
  }
}

}  // namespace

std::vector<std::string> Nodes(const kaml_content* first) {
  std::vector<std::string> nodes;
  Add(first, "", &nodes);
  return nodes;
}

std::vector<std::string> NodesOfFile(const std::string& path) {
  return Nodes(devhost::Document::Read(path).contents());
}

std::vector<std::string> NodesOf(const std::string& bytes) {
  const TempFolder folder;
  return NodesOfFile(folder.Write("document.xml", bytes));
}

std::string ErrorOfFile(const std::string& path) {
  try {
    devhost::Document::Read(path);
    return "";
  } catch (const devhost::DocumentError& error) {
    return error.what();
  }
}

std::string NestedElements(int depth) {
  std::string begin;
  std::string end;
  for (int i = 0; i < depth; ++i) {
    begin += "<a>";
    end += "</a>";
  }
  return begin + end;
}
