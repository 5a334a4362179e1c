# Builds for 64-bit RISC-V with Debian's cross compiler (package g++-riscv64-linux-gnu).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR riscv64)
set(CMAKE_CXX_COMPILER riscv64-linux-gnu-g++)
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,--allow-shlib-undefined)  # the sysroot's C library is newer
include(${CMAKE_CURRENT_LIST_DIR}/sysroot.cmake)
