#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

// A scenario of a kernel and a host, which both the model and the real library can play.
namespace model {

// The file at the path of a tunable. Unless noted, it opens for reading and for writing.
struct File {
  enum Kind {
    kText,            // a regular file with the content `text`
    kMissing,         // ENOENT
    kFolder,          // EISDIR for writing; opens for reading, but every read fails
    kLoop,            // ELOOP
    kSocket,          // ENXIO
    kBelowAFile,      // ENOTDIR
    kReadOnly,        // EROFS for writing; reads as `text`
    kWriteProtected,  // EACCES for writing; reads as `text`
    kSealed,          // EACCES
    kRunningProgram,  // ETXTBSY for writing; reads as `text`, the program's bytes
    kFullDevice,      // opens and reads as empty; written text is lost at the flush
  };
  Kind kind = kMissing;
  std::string text;

  bool operator==(const File&) const = default;
};

// One content of a document.
struct Node {
  enum NameKind {
    kInterned,  // the host's interned pointer for `name`
    kStray,     // another pointer to the same text
    kNull,      // no name; `name` is empty. Never for an element
  };
  int type;  // 0 is a text, 1 an element
  NameKind name_kind = kInterned;
  std::string name;
  std::string text;  // the text, for type 0
  std::vector<Node> contents;

  bool operator==(const Node&) const = default;
};

// One step of the host or of the world around it.
struct Operation {
  enum Kind {
    kNewLayer,   // gets a new layer from the plug-in; layers are numbered from 0
    kConfigure,  // delivers `document` to `layer`
    kStart,
    kStop,
    kRelease,
    kChangeFile,       // replaces `file` with `state`
    kTakeDescriptors,  // from now on every open fails with EMFILE
    kGiveDescriptors,  // from now on, opens work again
  };
  Kind kind;
  std::size_t layer = 0;
  std::vector<Node> document;  // kConfigure: the top-level contents
  bool answer = true;          // kConfigure: what the host returns for the reply
  std::string file;            // kChangeFile: a path below /proc/sys/net, "ipv4/tcp_sack"
  File state;

  // Only for the last three kinds. Empty: it happens immediately. Otherwise it happens right after
  // exactly this line (without its line break) is written to std::cout and flushed, the first time
  // only. Lines from printf do not count. Several operations can wait; those that wait for the same
  // line happen in the order of the scenario.
  std::string when;

  bool operator==(const Operation&) const = default;
};

struct Scenario {
  // By path below /proc/sys/net. All other tunables are missing.
  std::map<std::string, File> files;
  // At the end, all remaining layers are released in order of creation. Opens that fail because of
  // kTakeDescriptors still fail then, unless there was a kGiveDescriptors.
  std::vector<Operation> operations;

  bool operator==(const Scenario&) const = default;
};

// What happened in a scenario.
struct Trace {
  // The exact bytes of standard output. Each reply of the host is a line in it: {success}, without
  // a body, or {error "ERROR" "DETAIL"}.
  std::string output;

  // Every call of a host function, with the number of bytes of `output` printed before it, flushed
  // or not: "kaml_intern tcp_sack", "kaml_cont_type", "kaml_cont_next",
  // "kaml_elem_name", "kaml_elem_contents", "kaml_text", "kaeCPLayer()", "~kaeCPLayer",
  // "SendSuccess" (position: before its line in braces), "SendError".
  std::vector<std::pair<std::string, std::size_t>> calls;

  // The result of each kConfigure.
  std::vector<bool> results;

  // The final text of each kText file, by path, and of any file that the plug-in created and that
  // is not a tunable.
  std::map<std::string, std::string> files;

  bool operator==(const Trace&) const = default;
};

}  // namespace model
