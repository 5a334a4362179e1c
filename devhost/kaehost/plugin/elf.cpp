#include "devhost/kaehost/plugin/elf.h"

#include <fcntl.h>
#include <gelf.h>
#include <libelf.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <system_error>

#include "devhost/kaehost/plugin/plugin_error.h"

namespace devhost {
namespace {

using Handle = std::unique_ptr<Elf, int (*)(Elf*)>;

// Returns null if it is not a regular file. Needs memory only if the file cannot be mapped.
Handle Open(const std::string& path) {
  elf_version(EV_CURRENT);
  std::error_code unreadable;
  const bool is_file = std::filesystem::is_regular_file(path, unreadable);
  const int fd = is_file ? open(path.c_str(), O_RDONLY | O_CLOEXEC) : -1;
  Handle file(elf_begin(fd, ELF_C_READ_MMAP, nullptr), elf_end);
  const bool is_read = file == nullptr || elf_cntl(file.get(), ELF_C_FDREAD) == 0;
  const int error = errno;
  if (fd != -1) {
    close(fd);
  }
  if (!is_read) {
    throw PluginError(path + ": cannot read the plug-in: " + std::strerror(error));
  }
  return file;
}

// Returns the number of a section's entries. A loader does not read sections, so their sizes can be
// wrong.
int CountOf(const GElf_Shdr& header) {
  return header.sh_entsize > 0 ? static_cast<int>(header.sh_size / header.sh_entsize) : 0;
}

std::string TextAt(Elf* file, const GElf_Shdr& header, GElf_Xword offset) {
  const char* text = elf_strptr(file, header.sh_link, static_cast<std::size_t>(offset));
  return text != nullptr ? text : "(unreadable)";
}

void ReadSymbols(Elf* file, Elf_Data* data, const GElf_Shdr& header, SharedLibrary* library) {
  GElf_Sym symbol;
  for (int i = 0; i < CountOf(header) && gelf_getsym(data, i, &symbol) != nullptr; ++i) {
    if (symbol.st_shndx != SHN_UNDEF && GELF_ST_BIND(symbol.st_info) != STB_LOCAL) {
      library->exports.push_back(TextAt(file, header, symbol.st_name));
    }
  }
}

void ReadNeeds(Elf* file, Elf_Data* data, const GElf_Shdr& header, SharedLibrary* library) {
  GElf_Dyn entry;
  for (int i = 0; i < CountOf(header) && gelf_getdyn(data, i, &entry) != nullptr; ++i) {
    if (entry.d_tag == DT_NEEDED) {
      library->needs.push_back(TextAt(file, header, entry.d_un.d_val));
    } else if (entry.d_tag == DT_RPATH || entry.d_tag == DT_RUNPATH) {
      library->run_path = TextAt(file, header, entry.d_un.d_val);
    }
  }
}

}  // namespace

bool LacksItsEnd(const std::string& path) {
  const Handle file = Open(path);
  std::size_t size = 0;
  std::size_t count = 0;
  if (elf_rawfile(file.get(), &size) == nullptr || elf_getphdrnum(file.get(), &count) != 0) {
    return false;
  }
  for (std::size_t i = 0; i < count; ++i) {
    GElf_Phdr segment;
    if (gelf_getphdr(file.get(), static_cast<int>(i), &segment) != nullptr &&
        segment.p_type == PT_LOAD && segment.p_offset + segment.p_filesz > size) {
      return true;
    }
  }
  return false;
}

bool IsForAnotherProcessor(const std::string& path) {
  // The beginning of a header has the same form for all processors.
  constexpr std::size_t kProcessor = offsetof(Elf32_Ehdr, e_machine);
  const auto read = [](const std::string& file) {
    Elf32_Ehdr header = {};
    std::ifstream(file, std::ios::binary)
        .read(reinterpret_cast<char*>(&header), kProcessor + sizeof header.e_machine);
    return header;
  };
  const Elf32_Ehdr here = read("/proc/self/exe");
  const Elf32_Ehdr there = read(path);
  return std::memcmp(there.e_ident, here.e_ident, SELFMAG) == 0 &&
         (std::memcmp(there.e_ident, here.e_ident, EI_VERSION) != 0 ||
          there.e_machine != here.e_machine);
}

// A loaded plug-in exports a symbol, so a table without symbols is damaged, or there was no memory
// to read it.
SharedLibrary ReadSharedLibrary(const std::string& path) {
  errno = 0;
  const Handle file = Open(path);
  SharedLibrary library;
  for (Elf_Scn* section = nullptr; (section = elf_nextscn(file.get(), section)) != nullptr;) {
    GElf_Shdr header = {};
    gelf_getshdr(section, &header);
    Elf_Data* data = elf_getdata(section, nullptr);
    if (header.sh_type == SHT_DYNSYM) {
      ReadSymbols(file.get(), data, header, &library);
    } else if (header.sh_type == SHT_DYNAMIC) {
      ReadNeeds(file.get(), data, header, &library);
    }
  }
  if (library.exports.empty() && errno == ENOMEM) {
    throw std::bad_alloc();
  }
  if (library.exports.empty()) {
    throw PluginError(path +
                      ": the plug-in's section table is missing or damaged, so its exports and "
                      "needs are unknown; build the plug-in again");
  }
  std::sort(library.exports.begin(), library.exports.end());
  return library;
}

}  // namespace devhost
