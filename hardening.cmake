# Hardens what is delivered, with or without a preset. A compiler gets only flags that it knows. The
# tests' own code is not hardened: it is built without optimisation, which _FORTIFY_SOURCE needs.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

option(KAETCP_HARDENING "Harden optimised builds with the flags that the compiler knows" ON)

check_pie_supported(LANGUAGES CXX)  # without it, CMake links no executable as one

add_library(kaetcp_hardening INTERFACE)
target_link_options(kaetcp_hardening INTERFACE -Wl,-z,relro -Wl,-z,now)
if(NOT KAETCP_HARDENING)
  return()
endif()

set(flags -fstack-protector-strong -fstack-clash-protection)
if(CMAKE_SIZEOF_VOID_P EQUAL 8)  # old processors of 32 bits lack its instructions
  list(APPEND flags -fcf-protection)
endif()
set(known_flags)
foreach(flag IN LISTS flags)
  string(MAKE_C_IDENTIFIER KAETCP_KNOWS${flag} known)
  check_cxx_compiler_flag(${flag} ${known})
  if(${known})
    list(APPEND known_flags ${flag})
  endif()
endforeach()

# A level in CMAKE_CXX_FLAGS stays. A compiler or C library that knows only level 2 warns of 3.
if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")
  list(APPEND known_flags -U_FORTIFY_SOURCE)
  set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
  check_cxx_source_compiles("#include <cstdio>
int main() {}" KAETCP_HAS_FORTIFY_3)
  unset(CMAKE_REQUIRED_FLAGS)
  list(APPEND known_flags -D_FORTIFY_SOURCE=$<IF:$<BOOL:${KAETCP_HAS_FORTIFY_3}>,3,2>)
endif()
target_compile_options(kaetcp_hardening INTERFACE
  $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${known_flags}>)
