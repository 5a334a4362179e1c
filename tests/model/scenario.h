#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

// A story of a kernel and a host, in words that both the model and the real library can play.
namespace model {

// What stands at the path of a tunable. Unless told otherwise a file opens both ways.
struct File {
  enum Kind {
    kText,            // a regular file that holds `text`
    kMissing,         // ENOENT
    kFolder,          // EISDIR for writing; opens for reading, but every read fails
    kLoop,            // ELOOP
    kSocket,          // ENXIO
    kBelowAFile,      // ENOTDIR
    kReadOnly,        // EROFS for writing; reads as `text`
    kWriteProtected,  // EACCES for writing; reads as `text`
    kSealed,          // EACCES
    kRunningProgram,  // ETXTBSY for writing; reads as `text`, the program's bytes
    kFullDevice,      // opens, and reads as empty; what is written is lost when it is flushed
  };
  Kind kind = kMissing;
  std::string text;

  bool operator==(const File&) const = default;
};

// One content of a document.
struct Node {
  enum NameKind {
    kInterned,  // the host's interned pointer for `name`
    kStray,     // a pointer of its own to the same text
    kNull,      // no name at all; `name` is empty. Never for an element
  };
  int type;  // 0 is a text, 1 an element
  NameKind name_kind = kInterned;
  std::string name;
  std::string text;  // what the host answers as the text of a content of type 0
  std::vector<Node> contents;

  bool operator==(const Node&) const = default;
};

// One step of the host or of the world around it.
struct Operation {
  enum Kind {
    kNewLayer,   // asks the plug-in for a layer; layers are counted from 0
    kConfigure,  // delivers `document` to `layer`
    kStart,
    kStop,
    kRelease,
    kChangeFile,       // puts `state` at `file`
    kTakeDescriptors,  // from now on every open fails with EMFILE
    kGiveDescriptors,  // descriptors are to be had again
  };
  Kind kind;
  std::size_t layer = 0;
  std::vector<Node> document;  // kConfigure: the top-level contents
  bool answer = true;          // kConfigure: what the host answers to the reply
  std::string file;            // kChangeFile: a path below /proc/sys/net, "ipv4/tcp_sack"
  File state;

  // The last three kinds only. Empty: it happens at once. Otherwise it happens the next time that
  // this whole line (without its line break) is written to the standard output stream and flushed,
  // before anything else; at the first such line only. A line that printf wrote does not count.
  // Several may wait; those that wait for the same line happen in the order of the story.
  std::string when;

  bool operator==(const Operation&) const = default;
};

struct Scenario {
  // By path below /proc/sys/net. A tunable that is not named is missing.
  std::map<std::string, File> files;
  // Afterwards every layer that is left is released, in the order of creation; descriptors are
  // given back before that only if an operation says so.
  std::vector<Operation> operations;

  bool operator==(const Scenario&) const = default;
};

// What is seen of a story.
struct Trace {
  // What standard output got, byte for byte. The host's replies are lines of their own among it:
  // {success}, with no body, or {error "ERROR" "DETAIL"}.
  std::string output;

  // Every call of a host function, with the number of bytes of `output` that were printed before
  // it, flushed or not: "kaml_intern tcp_sack", "kaml_cont_type", "kaml_cont_next",
  // "kaml_elem_name", "kaml_elem_contents", "kaml_text", "kaeCPLayer()", "~kaeCPLayer",
  // "SendSuccess" (position: before its line in braces), "SendError".
  std::vector<std::pair<std::string, std::size_t>> calls;

  // What each kConfigure answered.
  std::vector<bool> results;

  // The final text of each file that ends as a kText, by path; and of any that is no tunable's and
  // was put there by the plug-in.
  std::map<std::string, std::string> files;

  bool operator==(const Trace&) const = default;
};

}  // namespace model
