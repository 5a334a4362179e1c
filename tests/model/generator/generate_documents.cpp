// Random documents.

#include <climits>

#include "tests/model/generator/generate.h"
#include "tests/support/catalogue.h"

namespace model {
namespace {

constexpr int kText = 0;
constexpr int kElement = 1;

const std::vector<std::string>& KnownNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> texts;
    for (const ExpectedSetting& setting : ExpectedCatalogue()) {
      texts.emplace_back(setting.name);
    }
    return texts;
  }();
  return names;
}

// Names of files without an element of that name, near misses, and names of other things.
std::string UnknownName(Choices& choices) {
  static const std::vector<std::string> kNames = {
      "tcp_mem",  "tcp_rmem",  "tcp_wmem",   "ip_local_port_range", "ipfrag_time", "tcp_sac",
      "tcp_sack", "tcp_sack ", "TCP_SACK",   "tcp_sackk",           "tcp-sack",    "",
      "#text",    "%s",        "rmem_max\n", "tcp-settings",        "tcp_ipfrag",  "\xc3\xa4"};
  return choices.Of(kNames);
}

std::string Name(Choices& choices) {
  return choices.OneIn(5) ? UnknownName(choices)
         : choices.OneIn(3)
             ? choices.Of<std::string>({"tcp_sack", "tcp_mem_low", "tcp_mem_high", "tcp_ecn"})
             : choices.Of(KnownNames());
}

// For two of them, the lowest byte is that of a text and of an element.
int OtherType(Choices& choices) { return choices.Of({-1, 2, 3, 7, 257, INT_MAX, INT_MIN, 256}); }

Node TextNode(Choices& choices, std::string text) {
  return {.type = kText,
          .name_kind = choices.OneIn(4) ? Node::kNull : Node::kInterned,
          .name = "",
          .text = std::move(text),
          .contents = {}};
}

// A text between elements, a comment or something of an unknown type. It can have no name.
Node NoElement(Choices& choices) {
  Node node = TextNode(choices, GenerateValue(choices));
  node.type = choices.OneIn(2) ? OtherType(choices) : kText;
  if (node.name_kind != Node::kNull) {
    node.name_kind = choices.OneIn(8) ? Node::kStray : Node::kInterned;
    node.name = choices.OneIn(2) ? Name(choices) : "#text";
  }
  return node;
}

Node Child(Choices& choices, int depth);

// The contents of an element: a value, nothing, or contents that do not begin with text.
std::vector<Node> Contents(Choices& choices, int depth) {
  std::vector<Node> contents;
  switch (choices.Below(11)) {
    default:
      contents.push_back(TextNode(choices, GenerateValue(choices)));
      break;
    case 6:
      break;
    case 7:
      contents.push_back(NoElement(choices));
      break;
    case 8:
      contents.push_back(Child(choices, depth + 1));
      break;
    case 9:
    case 10:
      contents.push_back(TextNode(choices, choices.Of<std::string>({"0", "5", ""})));
      break;
  }
  if (!contents.empty() && choices.OneIn(8)) {
    contents.push_back(choices.OneIn(2) ? TextNode(choices, GenerateValue(choices))
                                        : Child(choices, depth + 1));
  }
  return contents;
}

Node Child(Choices& choices, int depth) {
  if (depth > 5 || choices.OneIn(6)) {
    return NoElement(choices);
  }
  return {.type = kElement,
          .name_kind = choices.OneIn(8) ? Node::kStray : Node::kInterned,
          .name = Name(choices),
          .text = "",
          .contents = Contents(choices, depth)};
}

std::vector<Node> Children(Choices& choices) {
  if (choices.OneIn(250) && choices.OneIn(8)) {
    std::vector<Node> many(100000, Child(choices, 5));
    return many;
  }
  const std::size_t count = choices.OneIn(20) ? 60 : choices.Below(7);
  std::vector<Node> children;
  for (std::size_t i = 0; i < count; ++i) {
    children.push_back(Child(choices, 0));
  }
  return children;
}

// The element itself, or rarely one that only looks like it.
Node Root(Choices& choices) {
  const bool foreign = choices.OneIn(8);
  const bool looks_alike = foreign && choices.OneIn(2);
  const std::string other = foreign && !looks_alike ? Name(choices) : "tcp-settings";
  return {.type = kElement,
          .name_kind = looks_alike ? Node::kStray : Node::kInterned,
          .name = other,
          .text = "",
          .contents = Children(choices)};
}

}  // namespace

std::vector<Node> GenerateDocument(Choices& choices) {
  std::vector<Node> document;
  const auto count = choices.Of<std::size_t>({1, 1, 2, 1, 3, 1, 0, 1});
  for (std::size_t i = 0; i < count; ++i) {
    if (choices.OneIn(5)) {
      document.push_back(NoElement(choices));
    }
    document.push_back(Root(choices));
  }
  if (choices.OneIn(8)) {
    document.push_back(NoElement(choices));
  }
  return document;
}

}  // namespace model
