# Builds for 64-bit ARM with Debian's cross compiler (package g++-aarch64-linux-gnu).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
include(${CMAKE_CURRENT_LIST_DIR}/sysroot.cmake)
