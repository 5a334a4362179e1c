# Builds for 32-bit ARM with Debian's cross compiler (package g++-arm-linux-gnueabihf).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)  # notes on what g++ 6 compiled otherwise
include(${CMAKE_CURRENT_LIST_DIR}/sysroot.cmake)
