#include <elf.h>

#include <stdexcept>
#include <string>

#include "tests/support/obstacles.h"

namespace {

constexpr Elf64_Addr kAddress = 0x400000;
constexpr std::size_t kHeaders = sizeof(Elf64_Ehdr) + sizeof(Elf64_Phdr);

// for (;;) pause();
#if defined(__x86_64__)
constexpr Elf64_Half kMachine = EM_X86_64;
constexpr unsigned char kCode[] = {0xb8, 0x22, 0x00, 0x00, 0x00, 0x0f, 0x05, 0xeb, 0xf7};
#else
constexpr Elf64_Half kMachine = EM_NONE;
constexpr unsigned char kCode[] = {0};
#endif

template <class Object>
std::string BytesOf(const Object& object) {
  return {reinterpret_cast<const char*>(&object), sizeof object};
}

Elf64_Ehdr FileHeader() {
  Elf64_Ehdr header = {};
  std::string(ELFMAG).copy(reinterpret_cast<char*>(header.e_ident), SELFMAG);
  header.e_ident[EI_CLASS] = ELFCLASS64;
  header.e_ident[EI_DATA] = ELFDATA2LSB;
  header.e_ident[EI_VERSION] = EV_CURRENT;
  header.e_type = ET_EXEC;
  header.e_machine = kMachine;
  header.e_version = EV_CURRENT;
  header.e_entry = kAddress + kHeaders;
  header.e_phoff = sizeof header;
  header.e_ehsize = sizeof header;
  header.e_phentsize = sizeof(Elf64_Phdr);
  header.e_phnum = 1;
  return header;
}

Elf64_Phdr ProgramHeader() {
  Elf64_Phdr header = {};
  header.p_type = PT_LOAD;
  header.p_flags = PF_R | PF_X;
  header.p_vaddr = kAddress;
  header.p_filesz = kHeaders + sizeof kCode;
  header.p_memsz = header.p_filesz;
  header.p_align = 0x1000;
  return header;
}

}  // namespace

const std::string& RunningProgram() {
  if (kMachine == EM_NONE) {
    throw std::runtime_error("no program is known that this machine's processor could run");
  }
  static const std::string program =
      BytesOf(FileHeader()) + BytesOf(ProgramHeader()) + BytesOf(kCode) + " 7 8\n";
  return program;
}
