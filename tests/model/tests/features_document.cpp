// The features of documents.

#include <algorithm>

#include "tests/model/tests/features.h"

namespace model {
namespace {

bool IsRoot(const Node& node) {
  return node.type == 1 && node.name_kind == Node::kInterned && node.name == "tcp-settings";
}

}  // namespace

void Features::CountDocument(const std::vector<Node>& document) {
  const auto roots = std::count_if(document.begin(), document.end(), IsRoot);
  Note(document.empty() ? "an empty document" : "");
  Note(roots > 1 ? "several settings elements" : "");
  bool seen_root = false;
  for (const Node& content : document) {
    const std::string where = seen_root ? " after the settings" : " before the settings";
    if (IsRoot(content)) {
      seen_root = true;
      Note(content.contents.empty() ? "no children" : "");
      Note(content.contents.size() >= 100000 ? "100000 children" : "");
      std::for_each_n(content.contents.begin(), std::min<std::size_t>(content.contents.size(), 100),
                      [&](const Node& child) { CountChild(child, 1); });
    } else if (roots > 0) {
      Note((content.type == 1 ? "a foreign element" : "a node that is no element") + where);
      Note(content.name == "tcp-settings" && content.name_kind == Node::kStray ? "a stray root"
                                                                               : "");
    }
  }
}

void Features::CountChild(const Node& child, std::size_t depth) {
  Note("depth " + std::to_string(depth));
  if (child.type != 1) {
    Note("type " + std::to_string(child.type));
    Note(child.name_kind == Node::kNull ? "no name" : "a name of what is no element");
    return;
  }
  Note((child.name_kind == Node::kStray ? "stray " : "interned ") + child.name);
  Note(child.contents.empty() ? "an empty element" : "");
  Note(child.contents.size() > 1 ? "more than one child" : "");
  if (!child.contents.empty() && child.contents[0].type == 0) {
    CountValue(child.contents[0].text);
  } else if (!child.contents.empty()) {
    Note(child.contents[0].type == 1 ? "a first child that is an element"
                                     : "a first child of another type");
  }
  for (const Node& content : child.contents) {
    CountChild(content, depth + 1);
  }
}

void Features::CountValue(const std::string& text) {
  Note(text.empty() ? "an empty value" : "");
  Note(text == " " ? "a blank value" : "");
  Note(text == "%s%n%d" ? "a value like a format" : "");
  Note(text.find('\n') != std::string::npos ? "a line break in a value" : "");
  Note(text.find("\xc3\xa4") != std::string::npos ? "a value in UTF-8" : "");
  Note(text.size() >= 10000 ? "a value of 10000 bytes" : "");
  Note(text.size() >= (1U << 20U) ? "a value of 1 MiB" : "");
}

}  // namespace model
