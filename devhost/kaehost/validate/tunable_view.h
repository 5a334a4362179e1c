#pragma once

#include <filesystem>
#include <string>

namespace devhost {

// A view over /proc/sys/net/ipv4, in which each tunable is a link to the kernel's own file until
// something else takes its place. Needs a private namespace, and stays until its end. One object at
// a time. Throws Skipped if the kernel does not allow it.
class TunableView {
 public:
  TunableView();

  // Each puts something else in the place of the tunable, for example "tcp_sack". Opening it for
  // writing then fails: with EROFS, EISDIR, ENXIO, ELOOP, ENOTDIR, ENOENT. Until then it can be
  // read.
  void MakeReadOnly(const std::string& name);
  void PutDirectory(const std::string& name);
  void PutSocket(const std::string& name);
  void PutLoop(const std::string& name);
  void PutBelowAFile(const std::string& name);
  void Remove(const std::string& name);

  // Puts a scratch file there. It keeps the exact text that is written to it.
  void PutScratchFile(const std::string& name, const std::string& text);
  std::string ScratchText(const std::string& name) const;

  // Puts the kernel's file there again.
  void PutBack(const std::string& name);

 private:
  const std::filesystem::path view_ = "/proc/fs/view";
};

}  // namespace devhost
