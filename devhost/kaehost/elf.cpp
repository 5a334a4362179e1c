#include "devhost/kaehost/elf.h"

#include <fcntl.h>
#include <gelf.h>
#include <libelf.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace devhost {
namespace {

using Handle = std::unique_ptr<Elf, int (*)(Elf*)>;

void ReadSymbols(Elf* file, Elf_Scn* section, const GElf_Shdr& header, SharedLibrary* library) {
  Elf_Data* data = elf_getdata(section, nullptr);
  const auto count = static_cast<int>(header.sh_size / header.sh_entsize);
  for (int i = 0; i < count; ++i) {
    GElf_Sym symbol;
    if (gelf_getsym(data, i, &symbol) != nullptr && symbol.st_shndx != SHN_UNDEF &&
        GELF_ST_BIND(symbol.st_info) != STB_LOCAL) {
      library->exports.emplace_back(elf_strptr(file, header.sh_link, symbol.st_name));
    }
  }
}

void ReadNeeds(Elf* file, Elf_Scn* section, const GElf_Shdr& header, SharedLibrary* library) {
  Elf_Data* data = elf_getdata(section, nullptr);
  const auto count = static_cast<int>(header.sh_size / header.sh_entsize);
  for (int i = 0; i < count; ++i) {
    GElf_Dyn entry;
    if (gelf_getdyn(data, i, &entry) == nullptr) {
      continue;
    }
    const auto text = [&] { return elf_strptr(file, header.sh_link, entry.d_un.d_val); };
    if (entry.d_tag == DT_NEEDED) {
      library->needs.emplace_back(text());
    } else if (entry.d_tag == DT_RPATH || entry.d_tag == DT_RUNPATH) {
      library->run_path = text();
    }
  }
}

}  // namespace

SharedLibrary ReadSharedLibrary(const std::string& path) {
  elf_version(EV_CURRENT);
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const Handle file(elf_begin(fd, ELF_C_READ_MMAP, nullptr), elf_end);
  close(fd);
  if (file == nullptr || elf_kind(file.get()) != ELF_K_ELF) {
    throw std::runtime_error(path + ": cannot be read as a library: " + elf_errmsg(-1));
  }
  SharedLibrary library;
  for (Elf_Scn* section = nullptr; (section = elf_nextscn(file.get(), section)) != nullptr;) {
    GElf_Shdr header;
    gelf_getshdr(section, &header);
    if (header.sh_type == SHT_DYNSYM) {
      ReadSymbols(file.get(), section, header, &library);
    } else if (header.sh_type == SHT_DYNAMIC) {
      ReadNeeds(file.get(), section, header, &library);
    }
  }
  std::sort(library.exports.begin(), library.exports.end());
  return library;
}

}  // namespace devhost
