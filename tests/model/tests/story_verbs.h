#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "tests/model/scenario.h"

// Helpers to build stories for tests, and to check traces.
namespace model {

using Lines = std::vector<std::string>;
using Calls = std::vector<std::pair<std::string, std::string>>;

inline File Text(const std::string& text) { return {File::kText, text}; }

inline Node Words(const std::string& text) { return {0, Node::kInterned, "", text, {}}; }

inline Node Element(const std::string& name, std::vector<Node> contents) {
  return {1, Node::kInterned, name, "", std::move(contents)};
}

inline Node Value(const std::string& name, const std::string& text) {
  return Element(name, {Words(text)});
}

inline Node Settings(std::vector<Node> children) {
  return Element("tcp-settings", std::move(children));
}

inline Operation Call(Operation::Kind kind, std::size_t layer) {
  Operation operation;
  operation.kind = kind;
  operation.layer = layer;
  return operation;
}

inline Operation NewLayer() { return Call(Operation::kNewLayer, 0); }

inline Operation Release(std::size_t layer) { return Call(Operation::kRelease, layer); }

inline Operation Configure(std::vector<Node> document, std::size_t layer = 0) {
  Operation operation = Call(Operation::kConfigure, layer);
  operation.document = std::move(document);
  return operation;
}

inline Operation Event(Operation::Kind kind, const std::string& when) {
  Operation operation;
  operation.kind = kind;
  operation.when = when;
  return operation;
}

inline Operation Change(const std::string& file, const File& state, const std::string& when = "") {
  Operation operation = Event(Operation::kChangeFile, when);
  operation.file = file;
  operation.state = state;
  return operation;
}

inline Operation TakeDescriptors(const std::string& when = "") {
  return Event(Operation::kTakeDescriptors, when);
}

inline Operation GiveDescriptors(const std::string& when = "") {
  return Event(Operation::kGiveDescriptors, when);
}

inline bool Ends(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// In most stories most files are missing. The lines about them, and about the seven children with
// default values, are left out. told_stories.h has complete stories.
inline bool IsToldOften(const std::string& line) {
  const Lines children = {"tcp_mem_pressure = 65536", "tcp_mem_high = 98304",
                          "tcp_rmem_default = 87380", "tcp_rmem_max = 174760",
                          "tcp_wmem_default = 16384", "tcp_wmem_max = 131072",
                          "tcp_port_max = 4096"};
  for (const std::string& child : children) {
    if (line == child) {
      return true;
    }
  }
  return Ends(line, "]; error: No such file or directory") ||
         Ends(line, "]; does not exist. Skipped.");
}

inline Lines Told(const Trace& trace) {
  Lines lines;
  std::string line;
  for (const char c : trace.output) {
    if (c != '\n') {
      line += c;
    } else {
      if (!IsToldOften(line)) {
        lines.push_back(line);
      }
      line.clear();
    }
  }
  EXPECT_EQ(line, "") << "the last line has no end";
  return lines;
}

// The lines of a new layer that can read no file, and those of its release.
inline const Lines kBirth = {"", "reading previous config...", "reading config done", "",
                             "setting to previous values"};
inline const Lines kEnd = {"", "setting to previous values", "", "writing config...",
                           "config done"};

inline Lines operator+(Lines all, const Lines& more) {
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

// The calls from the n-th on, each with the last line printed before it.
inline Calls CallsFrom(const Trace& trace, std::size_t n) {
  Calls calls;
  for (std::size_t i = n; i < trace.calls.size(); ++i) {
    const auto& [call, position] = trace.calls[i];
    const std::string before = trace.output.substr(0, position);
    const std::size_t begin = before.size() < 2 ? 0 : before.rfind('\n', before.size() - 2) + 1;
    calls.emplace_back(call, before.substr(begin));
  }
  return calls;
}

// The number of host calls during the creation of a layer.
inline constexpr std::size_t kCallsOfABirth = 59;

// `text`, with `line` instead of the line that contains `key`.
inline std::string With(std::string text, const std::string& key, const std::string& line) {
  const std::size_t found = text.find(key);
  EXPECT_NE(found, std::string::npos) << key;
  const std::size_t begin = text.rfind('\n', found) + 1;
  return text.replace(begin, text.find('\n', found) + 1 - begin, line);
}

}  // namespace model
