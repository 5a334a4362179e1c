#include "tests/support/host.h"

#include <cerrno>
#include <cstdio>
#include <deque>
#include <new>
#include <set>
#include <utility>

namespace recording_host {
namespace {

std::set<std::string> g_names;
std::deque<kaml_content> g_contents;
int g_interns_until_failure = 0;

}  // namespace

// Keeps the caller's errno: ftell on a pipe changes it.
static void Record(std::string call) {
  const int error = errno;
  Calls().push_back(std::move(call));
  CallPositions().push_back(std::ftell(stdout));
  errno = error;
}

std::vector<std::string>& Calls() {
  // Never destroyed: a plug-in that is still loaded adds to it at the end of the process.
  static auto& calls = *new std::vector<std::string>;
  return calls;
}

std::vector<long>& CallPositions() {
  // Large enough, so that growing it does not count as an allocation of the plug-in.
  static auto& positions = *new auto([] {
    std::vector<long> empty;
    empty.reserve(1 << 12);
    return empty;
  }());
  return positions;
}

void FailIntern(int n) { g_interns_until_failure = n; }

void ResetHost() {
  Calls().clear();
  CallPositions().clear();
  g_contents.clear();
  g_interns_until_failure = 0;
}

const char* Intern(const std::string& text) { return g_names.insert(text).first->c_str(); }

kaml_content* List(std::vector<kaml_content*> contents) {
  for (std::size_t i = 1; i < contents.size(); ++i) {
    contents[i - 1]->next = contents[i];
  }
  return contents.empty() ? nullptr : contents.front();
}

kaml_content* Node(int type, const char* name, std::vector<kaml_content*> contents) {
  return &g_contents.emplace_back(kaml_content{type, name, {}, nullptr, List(std::move(contents))});
}

kaml_content* Element(const std::string& name, std::vector<kaml_content*> contents) {
  return Node(kElement, Intern(name), std::move(contents));
}

kaml_content* Text(const std::string& text) {
  kaml_content* node = Node(kText, Intern("#text"));
  node->text = text;
  return node;
}

kaml_content* Settings(std::vector<kaml_content*> contents) {
  return Element("tcp-settings", std::move(contents));
}

kaml_content* Value(const std::string& name, const std::string& text) {
  return Element(name, {Text(text)});
}

}  // namespace recording_host

using recording_host::Record;
using recording_host::Request;

const char* kaml_intern(const char* text) {
  Record(std::string("kaml_intern ") + text);
  if (recording_host::g_interns_until_failure > 0 &&
      --recording_host::g_interns_until_failure == 0) {
    throw std::bad_alloc();
  }
  return recording_host::Intern(text);
}

int kaml_cont_type(const kaml_content* content) {
  Record("kaml_cont_type");
  return content->type;
}

const kaml_content* kaml_cont_next(const kaml_content* content) {
  Record("kaml_cont_next");
  return content->next;
}

const char* kaml_elem_name(const kaml_content* content) {
  Record("kaml_elem_name");
  return content->name;
}

const kaml_content* kaml_elem_contents(const kaml_content* content) {
  Record("kaml_elem_contents");
  return content->contents;
}

const char* kaml_text(const kaml_content* content) {
  Record("kaml_text");
  return content->text.c_str();
}

kaeCPLayer::kaeCPLayer() { Record("kaeCPLayer()"); }

kaeCPLayer::~kaeCPLayer() { Record("~kaeCPLayer"); }

kaePlugin::~kaePlugin() { Record("~kaePlugin"); }

bool kaeRequest::SendSuccess(kaml_content* body) {
  auto& request = *static_cast<Request*>(this);
  Record("SendSuccess");
  request.replies.push_back({true, body, "", ""});
  std::puts(body == nullptr ? "{success}" : "{success with a body}");
  return request.answer;
}

bool kaeRequest::SendError(const std::string& error, const std::string& detail) {
  auto& request = *static_cast<Request*>(this);
  request.on_error();
  Record("SendError");
  request.replies.push_back({false, nullptr, error, detail});
  std::printf("{error \"%s\" \"%s\"}\n", error.c_str(), detail.c_str());
  return request.answer;
}
