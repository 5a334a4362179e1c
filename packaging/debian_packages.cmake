# The Debian packages. The preset `package` builds them.

set(KAETCP_MAINTAINER "The kaetcp authors <authors@kaetcp.invalid>" CACHE STRING
    "Maintainer of the Debian packages")

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL kaetcp kaetcp-dev kaetcp-symbols kaehost kaehost-symbols)
set(CPACK_PACKAGE_CONTACT ${KAETCP_MAINTAINER})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_RELEASE 0kaetcp1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SOURCE kaetcp)

# The device provides its own libe.so, and kaehost has the stand-in. So dpkg-shlibdeps must find
# libe.so, but no package may depend on one that provides it.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/devhost)
if(KAETCP_HOST_LIBRARY)
  cmake_path(GET KAETCP_HOST_LIBRARY PARENT_PATH host_library_dir)
  list(PREPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${host_library_dir})
endif()
if(KAETCP_SYSROOT)
  foreach(folder lib usr/lib)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
      ${KAETCP_SYSROOT}/${folder}/${CMAKE_LIBRARY_ARCHITECTURE})
  endforeach()
endif()

# CPack has no variable for these fields (for the first since CMake 3.31), but it writes the section
# as it is.
set(multi_arch "\nMulti-Arch: same")
set(debug_symbols "\nAuto-Built-Package: debug-symbols")

set(CPACK_DEBIAN_KAETCP_PACKAGE_NAME kaetcp)
set(CPACK_DEBIAN_KAETCP_PACKAGE_SECTION "net${multi_arch}")
set(CPACK_DEBIAN_KAETCP_PACKAGE_SUGGESTS kaehost)
set(CPACK_DEBIAN_KAETCP_DESCRIPTION
"plug-in that writes the TCP/IP tunables of Linux
A plug-in for a host framework that manages the control plane of a Linux
device. It writes the values of configuration documents to the kernel's TCP/IP
tunables, the files below /proc/sys/net. It restores the old values when the
layer is released or a file cannot be opened.

The host and its library, libe.so, are not part of this package. To try
documents without a device, install kaehost.")

set(CPACK_DEBIAN_KAETCP-DEV_PACKAGE_NAME kaetcp-dev)
set(CPACK_DEBIAN_KAETCP-DEV_PACKAGE_SECTION "libdevel${multi_arch}")
set(CPACK_DEBIAN_KAETCP-DEV_PACKAGE_SUGGESTS "cmake, kaehost, pkg-config")
set(CPACK_COMPONENT_KAETCP-DEV_DEPENDS kaetcp)
set(CPACK_DEBIAN_KAETCP-DEV_DESCRIPTION
"development files for hosts of the kaetcp plug-in
C++ headers of the host framework of the TCP/IP plug-in kaetcp. Use them to
write a host that loads the plug-in, or another plug-in for the same host.

A CMake package and a pkg-config file are included. They also contain the
path of the installed plug-in.")

set(CPACK_DEBIAN_KAEHOST_PACKAGE_NAME kaehost)
set(CPACK_DEBIAN_KAEHOST_PACKAGE_SECTION net)
set(CPACK_DEBIAN_KAEHOST_PACKAGE_SUGGESTS iproute2)
set(CPACK_COMPONENT_KAEHOST_DEPENDS kaetcp)
set(CPACK_DEBIAN_KAEHOST_DESCRIPTION
"tries TCP/IP tunables in a private namespace
Applies configuration documents of the kaetcp plug-in to the kernel of this
machine, in a private namespace. Shows what they change, and whether every
value is restored at the end. The machine's own tunables are not changed.

A stand-in for the library of the device's host, examples and a schema of the
documents are included.")

# add_debug_symbols(COMPONENT TARGET...): the package with what a debugger needs of the targets.
# CPack's own packages of this kind name files by the folder of the build; it also empties the
# folder of a component that is called -dbgsym.
function(add_debug_symbols component)
  list(TRANSFORM ARGN REPLACE ".+" "$<TARGET_FILE:\\0>" OUTPUT_VARIABLE files)
  install(CODE "set(with_symbols \"${files}\")
    set(objcopy ${CMAKE_OBJCOPY})
    include(\"${CMAKE_CURRENT_SOURCE_DIR}/debian/debug_symbols.cmake\")"
    COMPONENT ${component}-symbols EXCLUDE_FROM_ALL)
  string(TOUPPER ${component}-symbols name)
  set(CPACK_DEBIAN_${name}_PACKAGE_NAME ${component}-dbgsym PARENT_SCOPE)
  set(CPACK_DEBIAN_${name}_PACKAGE_SECTION "debug${multi_arch}${debug_symbols}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${name}_PACKAGE_SHLIBDEPS OFF PARENT_SCOPE)
  set(CPACK_COMPONENT_${name}_DEPENDS ${component} PARENT_SCOPE)
  set(CPACK_DEBIAN_${name}_DESCRIPTION "debug symbols for ${component}" PARENT_SCOPE)
endfunction()
add_debug_symbols(kaetcp kaetcp)
add_debug_symbols(kaehost kaehost_installed e kaehost_schema)

set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_SOURCE_DIR}/debian/date.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/debian/documents.cmake)
include(CPack)
