#include <elf.h>

#include <cstdint>
#include <string>

#include "tests/support/obstacles.h"

namespace {

constexpr std::uint64_t kAddress = 0x400000;
constexpr std::uint64_t kHeaders = sizeof(Elf64_Ehdr) + sizeof(Elf64_Phdr);
constexpr std::uint64_t kCodeSize = 9;

// for (;;) pause();
constexpr char kCode[kCodeSize + 1] = "\xb8\x22\x00\x00\x00\x0f\x05\xeb\xf7";

// A number as this processor has it, whatever the one that the tests are built for.
std::string Bytes(std::size_t count, std::uint64_t number) {
  std::string bytes;
  for (; bytes.size() < count; number >>= 8) {
    bytes += static_cast<char>(number & 0xff);
  }
  return bytes;
}

// The fields of Elf64_Ehdr in their order.
std::string FileHeader() {
  return std::string(ELFMAG) + Bytes(1, ELFCLASS64) + Bytes(1, ELFDATA2LSB) + Bytes(1, EV_CURRENT) +
         Bytes(9, 0) + Bytes(2, ET_EXEC) + Bytes(2, EM_X86_64) + Bytes(4, EV_CURRENT) +
         Bytes(8, kAddress + kHeaders) + Bytes(8, sizeof(Elf64_Ehdr)) + Bytes(8, 0) + Bytes(4, 0) +
         Bytes(2, sizeof(Elf64_Ehdr)) + Bytes(2, sizeof(Elf64_Phdr)) + Bytes(2, 1) + Bytes(6, 0);
}

// The fields of Elf64_Phdr in their order.
std::string ProgramHeader() {
  return Bytes(4, PT_LOAD) + Bytes(4, PF_R | PF_X) + Bytes(8, 0) + Bytes(8, kAddress) +
         Bytes(8, 0) + Bytes(8, kHeaders + kCodeSize) + Bytes(8, kHeaders + kCodeSize) +
         Bytes(8, 0x1000);
}

}  // namespace

// For 64-bit x86: an emulator of other processors leaves it to the machine.
const std::string& RunningProgram() {
  static const std::string program =
      FileHeader() + ProgramHeader() + std::string(kCode, kCodeSize) + " 7 8\n";
  return program;
}
