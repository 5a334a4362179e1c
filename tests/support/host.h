#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/kae.h"
#include "host/kaml.h"

// A document node of the recording host. It belongs to the host and lives until ResetHost().
struct kaml_content {
  int type;
  const char* name;
  std::string text;
  kaml_content* next = nullptr;
  kaml_content* contents = nullptr;
};

// The host of the plug-in in tests: a libe.so that records all calls in order, and fails on demand.
// Not thread-safe.
namespace recording_host {

constexpr int kText = 0;
constexpr int kElement = 1;

struct Reply {
  bool success;
  kaml_content* body;
  std::string error;
  std::string detail;
};

// Keeps every reply. Also prints each as a line in braces on standard output, to show its position
// among the plug-in's lines: {success}, {success with a body} or {error "ERROR" "DETAIL"}.
class Request : public kaeRequest {
 public:
  std::vector<Reply> replies;
  bool answer = true;                      // the result of the next SendSuccess or SendError
  std::function<void()> on_error = [] {};  // what SendError does before all else
};

// Every call of a host function since ResetHost(), as "kaml_intern tcp_sack", "kaml_cont_type",
// "kaeCPLayer()", "~kaeCPLayer", "~kaePlugin", "SendSuccess", "SendError".
std::vector<std::string>& Calls();

// The position of standard output at each of these calls, in bytes from its start, flushed or not.
// -1 if it has no position.
std::vector<long>& CallPositions();

// Makes the `n`-th call of kaml_intern from now on throw std::bad_alloc, once.
void FailIntern(int n);

// Clears calls, failures and contents. Interned names stay.
void ResetHost();

// These build contents, and do not count as calls. Lists keep the given order.
const char* Intern(const std::string& text);
kaml_content* Node(int type, const char* name, std::vector<kaml_content*> contents = {});
kaml_content* Element(const std::string& name, std::vector<kaml_content*> contents = {});
kaml_content* Text(const std::string& text);
kaml_content* List(std::vector<kaml_content*> contents);

// A "tcp-settings" element.
kaml_content* Settings(std::vector<kaml_content*> contents = {});

// An element that holds one text.
kaml_content* Value(const std::string& name, const std::string& text);

}  // namespace recording_host
