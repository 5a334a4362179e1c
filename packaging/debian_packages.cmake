# The Debian packages. The preset `package` builds them.

set(KAETCP_MAINTAINER "The kaetcp authors <authors@kaetcp.invalid>" CACHE STRING
    "Maintainer of the Debian packages")

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL kaetcp kaetcp-dev kaehost)
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

set(CPACK_DEBIAN_KAETCP_PACKAGE_NAME kaetcp)
set(CPACK_DEBIAN_KAETCP_PACKAGE_SECTION net)
set(CPACK_DEBIAN_KAETCP_DESCRIPTION
"plug-in that writes the TCP/IP tunables of Linux
A plug-in for a host framework that manages the control plane of a Linux
device. It writes the values of configuration documents to the kernel's TCP/IP
tunables, the files below /proc/sys/net. It restores the old values when the
layer is released or a file cannot be opened.

The host and its library, libe.so, are not part of this package. To try
documents without a device, install kaehost.")

set(CPACK_DEBIAN_KAETCP-DEV_PACKAGE_NAME kaetcp-dev)
set(CPACK_DEBIAN_KAETCP-DEV_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_KAETCP-DEV_DEPENDS kaetcp)
set(CPACK_DEBIAN_KAETCP-DEV_DESCRIPTION
"development files for hosts of the kaetcp plug-in
C++ headers of the host framework of the TCP/IP plug-in kaetcp. Use them to
write a host that loads the plug-in, or another plug-in for the same host.

A CMake package and a pkg-config file are included. They also contain the
path of the installed plug-in.")

set(CPACK_DEBIAN_KAEHOST_PACKAGE_NAME kaehost)
set(CPACK_DEBIAN_KAEHOST_PACKAGE_SECTION net)
set(CPACK_COMPONENT_KAEHOST_DEPENDS kaetcp)
set(CPACK_DEBIAN_KAEHOST_DESCRIPTION
"tries TCP/IP tunables in a private namespace
Applies configuration documents of the kaetcp plug-in to the kernel of this
machine, in a private namespace. Shows what they change, and whether every
value is restored at the end. The machine's own tunables are not changed.

A stand-in for the library of the device's host, examples and a schema of the
documents are included.")

set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_SOURCE_DIR}/debian/date.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/debian/documents.cmake)
include(CPack)
