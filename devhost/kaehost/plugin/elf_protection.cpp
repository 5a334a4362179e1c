#include "devhost/kaehost/plugin/elf_protection.h"

#include <fcntl.h>
#include <gelf.h>
#include <libelf.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

#include "devhost/kaehost/plugin/plugin_error.h"

namespace devhost {
namespace {

using Handle = std::unique_ptr<Elf, int (*)(Elf*)>;

Handle Open(const std::string& path) {
  elf_version(EV_CURRENT);
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    throw PluginError(path + ": cannot read the plug-in: " + std::strerror(errno));
  }
  Handle file(elf_begin(fd, ELF_C_READ_MMAP, nullptr), elf_end);
  const bool is_read = file != nullptr && elf_cntl(file.get(), ELF_C_FDREAD) == 0;
  close(fd);
  if (!is_read || elf_kind(file.get()) != ELF_K_ELF) {
    throw PluginError(path + ": cannot read the plug-in: not an ELF file");
  }
  return file;
}

std::vector<GElf_Phdr> SegmentsOf(Elf* file) {
  std::size_t count = 0;
  elf_getphdrnum(file, &count);
  std::vector<GElf_Phdr> segments(count);
  for (std::size_t i = 0; i < count; ++i) {
    gelf_getphdr(file, static_cast<int>(i), &segments[i]);
  }
  return segments;
}

// A loader reads the segment, not the section of the same entries, which can be missing.
void ReadDynamicEntries(Elf* file, const GElf_Phdr& segment, Protection* protection) {
  Elf_Data* data = elf_getdata_rawchunk(file, static_cast<std::int64_t>(segment.p_offset),
                                        static_cast<std::size_t>(segment.p_filesz), ELF_T_DYN);
  GElf_Dyn entry;
  for (int i = 0; gelf_getdyn(data, i, &entry) != nullptr && entry.d_tag != DT_NULL; ++i) {
    const auto has = [&entry](GElf_Sxword tag, GElf_Xword flag) {
      return entry.d_tag == tag && (entry.d_un.d_val & flag) != 0;
    };
    protection->is_bound_at_load |=
        entry.d_tag == DT_BIND_NOW || has(DT_FLAGS, DF_BIND_NOW) || has(DT_FLAGS_1, DF_1_NOW);
    protection->has_text_relocations |= entry.d_tag == DT_TEXTREL || has(DT_FLAGS, DF_TEXTREL);
  }
}

}  // namespace

Protection ReadProtection(const std::string& path) {
  const Handle file = Open(path);
  Protection protection;
  for (const GElf_Phdr& segment : SegmentsOf(file.get())) {
    const bool is_executable = (segment.p_flags & PF_X) != 0;
    protection.has_relro |= segment.p_type == PT_GNU_RELRO;
    if (segment.p_type == PT_GNU_STACK) {
      protection.has_executable_stack = is_executable;
    }
    protection.has_writable_code |=
        segment.p_type == PT_LOAD && is_executable && (segment.p_flags & PF_W) != 0;
    if (segment.p_type == PT_DYNAMIC) {
      ReadDynamicEntries(file.get(), segment, &protection);
    }
  }
  return protection;
}

bool IsInFile(const std::string& path, std::uint64_t address, std::uint64_t size) {
  const Handle file = Open(path);
  const std::vector<GElf_Phdr> segments = SegmentsOf(file.get());
  return std::any_of(segments.begin(), segments.end(), [&](const GElf_Phdr& segment) {
    return segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
           address + size <= segment.p_vaddr + segment.p_filesz;
  });
}

}  // namespace devhost
