// Reads any bytes as a document: what comes of them must be a sound tree or a clear sentence, the
// same each time, and what another parser's tree of the same bytes shows.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include "devhost/libe/document.h"
#include "tests/devhost/libe/parser_tree.h"

namespace {

// What is refused although the other parser reads it.
constexpr const char* kStricter[] = {
    "a document may not declare entities",
    // Names with letters of later editions of XML.
    "a character that XML does not allow here",
    // Half a surrogate pair.
    "bytes that are invalid in UTF-16",
    // An encoding that contradicts the byte order mark, or the first bytes.
    "the document is not in ",
    // <?xml version='1.0'encoding='UTF-8'?>
    "the XML declaration is not well-formed",
    // <?xml version='1.'?>
    "the XML declaration names no version of XML",
    // <!DOCTYPEa>, <!NOTATION n >
    "a declaration that is not well-formed",
    // <!DOCTYPE a>[]>
    "text before the root element",
};

void Require(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "%s\n", what);
    std::abort();
  }
}

// Writes the one file that is read; answers its path.
std::string Write(const std::string& bytes) {
  static const int file = memfd_create("document", MFD_CLOEXEC);
  Require(ftruncate(file, 0) == 0 &&
              pwrite(file, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
          "the document cannot be written");
  return "/proc/self/fd/" + std::to_string(file);
}

std::string Show(const kaml_content* content) {
  const char* name = kaml_elem_name(content);
  const int type = kaml_cont_type(content);
  if (type == devhost::kElement) {
    Require(name != nullptr && *name != '\0', "an element without a name");
    Require(kaml_intern(name) == name, "a name that is not interned");
    return name;
  }
  Require(name == nullptr, "a name of what is no element");
  Require(kaml_elem_contents(content) == nullptr, "contents of what is no element");
  if (type == devhost::kText) {
    return std::string("'") + kaml_text(content) + "'";
  }
  Require(type == devhost::kComment || type == devhost::kProcessingInstruction, "an unknown type");
  Require(*kaml_text(content) == '\0', "a text of what is no text");
  return type == devhost::kComment ? "(comment)" : "(instruction)";
}

// As ParserTree shows them: a line for each content, and an empty one at the end of each element.
std::vector<std::string> LinesOf(const kaml_content* first) {
  std::vector<std::string> lines;
  std::vector<const kaml_content*> next = {first};
  while (!next.empty()) {
    const kaml_content* content = next.back();
    if (content == nullptr) {
      next.pop_back();
      lines.emplace_back();
      continue;
    }
    next.back() = kaml_cont_next(content);
    lines.push_back(Show(content));
    if (kaml_cont_type(content) == devhost::kElement) {
      next.push_back(kaml_elem_contents(content));
    }
  }
  return lines;
}

// Either the contents or the sentence that refuses them.
struct Result {
  std::vector<std::string> lines;
  std::string error;
  bool operator==(const Result&) const = default;
};

Result Read(const std::string& path) {
  try {
    return {LinesOf(devhost::Document::Read(path).contents()), ""};
  } catch (const devhost::DocumentError& error) {
    Require(*error.what() != '\0', "no sentence");
    return {{}, error.what()};
  }
}

void RequireClear(const std::string& error, const std::string& path) {
  Require(error.starts_with(path + ":"), "a sentence that does not begin with the file");
  Require(std::atoi(error.c_str() + path.size() + 1) > 0, "a sentence without the line");
  Require(error.find('\n') == std::string::npos, "a sentence of more than one line");
  Require(error.size() < 400, "a sentence that is too long");
}

void RequireSound(const std::string& bytes) {
  const std::string path = Write(bytes);
  const Result result = Read(path);
  Require(Read(path) == result, "another result the second time");
  if (!result.error.empty()) {
    RequireClear(result.error, path);
  }
}

bool IsStricter(const std::string& error) {
  return std::any_of(std::begin(kStricter), std::end(kStricter),
                     [&error](const char* sentence) { return error.find(sentence) != error.npos; });
}

void RequireLikeTheOtherParser(const std::string& bytes) {
  const Result result = Read(Write(bytes));
  const ParserTree tree(bytes);
  if (!tree.is_comparable()) {
    return;
  }
  if (!tree.is_sound()) {
    Require(!result.error.empty(), "read, which the other parser refuses");
  } else if (result.error.empty()) {
    Require(tree.lines() == result.lines, "contents other than the other parser's");
  } else {
    Require(IsStricter(result.error), result.error.c_str());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  RequireSound(bytes);
  RequireLikeTheOtherParser(bytes);
  return 0;
}
