# Included by the toolchain files. With KAETCP_SYSROOT, libraries come from that folder only, which
# scripts/make_sysroot makes, and programs run under qemu-user. Without it, the plug-in alone can be
# built: it needs only the compiler's own libraries.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
if(KAETCP_SYSROOT)
  set(CMAKE_SYSROOT ${KAETCP_SYSROOT})
  foreach(kind LIBRARY INCLUDE PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
  endforeach()
  set(CMAKE_CROSSCOMPILING_EMULATOR
    ${CMAKE_CURRENT_LIST_DIR}/../scripts/run_emulated;qemu-${CMAKE_SYSTEM_PROCESSOR};${KAETCP_SYSROOT})
  list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KAETCP_SYSROOT)
endif()
