# Builds for the 64-bit z/Architecture, which is big-endian, with Debian's cross compiler (package
# g++-s390x-linux-gnu).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CMAKE_CXX_COMPILER s390x-linux-gnu-g++)
include(${CMAKE_CURRENT_LIST_DIR}/sysroot.cmake)
