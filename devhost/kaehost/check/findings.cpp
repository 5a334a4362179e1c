#include "devhost/kaehost/check/findings.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/spelling.h"
#include "devhost/kaehost/text/numbers.h"
#include "devhost/kaehost/text/quoting.h"

namespace devhost {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kRoot = "tcp-settings";

// A sentence begins with the element's name, which can have any length.
std::string NameOf(const kaml_content& element) {
  constexpr std::size_t kLongest = 64;
  return Shown(element.name(), kLongest) + ": ";
}

std::string_view Trimmed(std::string_view text) {
  const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
  return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// Returns the position right after `blanks`, which begin at `begin`.
Position EndOf(std::string_view blanks, Position begin) {
  const auto lines = static_cast<int>(std::count(blanks.begin(), blanks.end(), '\n'));
  const auto columns = static_cast<int>(blanks.size() - (blanks.rfind('\n') + 1));
  return {begin.line + lines, lines > 0 ? columns + 1 : begin.column + columns};
}

// Returns what is wrong with a value and what to do, empty if nothing is wrong.
std::string AboutValue(const CatalogueEntry& entry, const std::string& text) {
  const std::string_view value = Trimmed(text);
  if (value.empty()) {
    return "only white space, which the kernel ignores; write a value or remove the element";
  }
  if (value.find_first_of(kBlanks) != std::string_view::npos) {
    return Quoted(text) + " is more than one value; write each in a separate element";
  }
  const std::optional<Integer> number = ReadInteger(std::string(value));
  if (!number) {
    return Quoted(text) + ' ' + AboutNoInteger(std::string(value));
  }
  const std::string sentence = AboutNumber(entry, number->is_negative, number->magnitude);
  if (!sentence.empty()) {
    return Quoted(text) + ' ' + sentence;
  }
  if (text != Decimal(*number)) {
    return Quoted(text) + " is not in plain decimal form; write " + Decimal(*number);
  }
  return "";
}

// Returns why the plug-in ignores an element that it knows, empty if it does not.
std::string WhyIgnored(const kaml_content& element) {
  if (element.first_child() == nullptr) {
    return "empty, so the element is ignored; write a value or remove it";
  }
  if (element.first_child()->type() != kText) {
    return "the first content is not text, so the element is ignored; write only the value";
  }
  return "";
}

class Search {
 public:
  std::vector<Finding> Run(const Document& document);

 private:
  void LookAtElement(const kaml_content& element);
  void LookAtAttributes(const kaml_content& element);
  void LookAtValue(const CatalogueEntry& entry, const kaml_content& element);
  void LookAtText(const kaml_content& text);
  void Add(Position position, const std::string& sentence) {
    findings_.push_back({position, sentence});
  }

  std::vector<Finding> findings_;
  std::map<std::string_view, Position> seen_;
};

std::vector<Finding> Search::Run(const Document& document) {
  const kaml_content* root = document.contents();
  while (root->type() != kElement) {
    root = root->next();
  }
  if (root->name() != kRoot) {
    Add(root->begin(), NameOf(*root) +
                           "not tcp-settings, so the request gets no reply; rename the root "
                           "element to tcp-settings");
    return findings_;
  }
  LookAtAttributes(*root);
  for (const kaml_content* c = root->first_child(); c != nullptr; c = c->next()) {
    if (c->type() == kElement) {
      LookAtElement(*c);
    } else if (c->type() == kText) {
      LookAtText(*c);
    }
    if (findings_.size() > kMostFindings) {
      findings_.resize(kMostFindings);
      Add(findings_.back().position,
          "more findings follow, which are not listed; fix those above first");
      break;
    }
  }
  return findings_;
}

void Search::LookAtElement(const kaml_content& element) {
  const std::string name = NameOf(element);
  const CatalogueEntry* entry = FindInCatalogue(element.name());
  if (entry == nullptr) {
    Add(element.begin(), name + AboutUnknownElement(element.name(), "it is ignored; remove it"));
    return;
  }
  if (const std::string why = WhyIgnored(element); !why.empty()) {
    Add(element.begin(), name + why);
    return;
  }
  const auto [earlier, is_new] = seen_.try_emplace(entry->element, element.begin());
  if (!is_new) {
    Add(element.begin(), name + "already named in line " + std::to_string(earlier->second.line) +
                             "; the last one wins; remove one of the two");
    earlier->second = element.begin();
  }
  LookAtAttributes(element);
  LookAtValue(*entry, element);
}

void Search::LookAtAttributes(const kaml_content& element) {
  if (element.has_attributes()) {
    Add(element.begin(), NameOf(element) + "attributes are ignored; remove them");
  }
}

void Search::LookAtValue(const CatalogueEntry& entry, const kaml_content& element) {
  const std::string name = NameOf(element);
  const kaml_content& text = *element.first_child();
  if (text.next() != nullptr) {
    Add(element.begin(),
        name + "only the first text, " + Quoted(text.text()) + ", counts; write only the value");
  }
  if (const std::string sentence = AboutValue(entry, text.text()); !sentence.empty()) {
    Add(text.begin(), name + sentence);
  }
}

void Search::LookAtText(const kaml_content& text) {
  const std::string_view words = Trimmed(text.text());
  if (!words.empty()) {
    const std::string_view blanks(text.text(),
                                  static_cast<std::size_t>(words.data() - text.text()));
    Add(EndOf(blanks, text.begin()),
        Quoted(words) + ": text between elements is ignored; remove it");
  }
}

}  // namespace

std::vector<Finding> FindingsIn(const Document& document) { return Search().Run(document); }

}  // namespace devhost
