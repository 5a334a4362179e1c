#include "devhost/kaehost/check/findings.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>

#include "devhost/kaehost/check/spelling.h"
#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/text/numbers.h"
#include "devhost/kaehost/text/quoting.h"

namespace devhost {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kRoot = "tcp-settings";

// Nobody mends more at a time, and a document may have millions.
constexpr std::size_t kMostFindings = 1000;

// A sentence begins with the element's name, which may be of any length.
std::string NameOf(const kaml_content& element) {
  constexpr std::size_t kLongest = 64;
  return Shown(element.name, kLongest) + ": ";
}

std::string_view Trimmed(std::string_view text) {
  const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
  return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// Answers what is to be done about a value, empty where it is well.
std::string AboutValue(const CatalogueEntry& entry, const std::string& text) {
  const std::string_view value = Trimmed(text);
  if (value.empty()) {
    return "blank, which the kernel takes for no value; write one or remove the element";
  }
  if (value.find_first_of(kBlanks) != std::string_view::npos) {
    return Quoted(text) + " is more than one value; each has an element of its own";
  }
  const std::optional<long long> number = Number(std::string(value));
  if (!number) {
    return Quoted(text) + ' ' + AboutNoNumber(std::string(value));
  }
  if (const std::string sentence = AboutNumber(entry, *number); !sentence.empty()) {
    return Quoted(text) + ' ' + sentence;
  }
  if (text != std::to_string(*number)) {
    return Quoted(text) + " reaches the kernel as it is written; write " + std::to_string(*number);
  }
  return "";
}

// Answers why the plug-in passes over an element that it knows, empty where it does not.
std::string WhyPassedOver(const kaml_content& element) {
  if (element.first_child == nullptr) {
    return "empty, so it is passed over; write a value or remove it";
  }
  if (element.first_child->type != kText) {
    return "its first content is no text, so it is passed over; write nothing but the value";
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
  while (root->type != kElement) {
    root = root->next;
  }
  if (root->name != kRoot) {
    Add(root->begin, NameOf(*root) +
                         "is no tcp-settings, so the request is left unanswered; name the "
                         "outermost element tcp-settings");
    return findings_;
  }
  LookAtAttributes(*root);
  for (const kaml_content* c = root->first_child; c != nullptr; c = c->next) {
    if (c->type == kElement) {
      LookAtElement(*c);
    } else if (c->type == kText) {
      LookAtText(*c);
    }
    if (findings_.size() >= kMostFindings && c->next != nullptr) {
      Add(findings_.back().position,
          "nothing is looked at from here on; mend what is found so far");
      break;
    }
  }
  return findings_;
}

void Search::LookAtElement(const kaml_content& element) {
  const std::string name = NameOf(element);
  const CatalogueEntry* entry = FindInCatalogue(element.name);
  if (entry == nullptr) {
    Add(element.begin, name + AboutUnknownElement(element.name));
    return;
  }
  if (const std::string why = WhyPassedOver(element); !why.empty()) {
    Add(element.begin, name + why);
    return;
  }
  const auto [earlier, is_new] = seen_.try_emplace(entry->element, element.begin);
  if (!is_new) {
    Add(element.begin, name + "named in line " + std::to_string(earlier->second.line) +
                           " already, and the last one counts; remove one of the two");
    earlier->second = element.begin;
  }
  LookAtAttributes(element);
  LookAtValue(*entry, element);
}

void Search::LookAtAttributes(const kaml_content& element) {
  if (element.has_attributes) {
    Add(element.begin, NameOf(element) + "attributes are passed over; remove them");
  }
}

void Search::LookAtValue(const CatalogueEntry& entry, const kaml_content& element) {
  const std::string name = NameOf(element);
  const kaml_content& text = *element.first_child;
  if (text.next != nullptr) {
    Add(element.begin, name + "what follows its first text, " + Quoted(text.text) +
                           ", is passed over; write nothing but the value");
  }
  if (const std::string sentence = AboutValue(entry, text.text); !sentence.empty()) {
    Add(text.begin, name + sentence);
  }
}

void Search::LookAtText(const kaml_content& text) {
  const std::string_view words = Trimmed(text.text);
  if (!words.empty()) {
    const std::string_view blanks(text.text.data(),
                                  static_cast<std::size_t>(words.data() - text.text.data()));
    Add(EndOf(blanks, text.begin),
        Quoted(words) + ": text between elements is passed over; remove it");
  }
}

}  // namespace

std::vector<Finding> FindingsIn(const Document& document) { return Search().Run(document); }

}  // namespace devhost
