# The Debian packages, made with the preset `package`.

set(KAETCP_MAINTAINER "The kaetcp authors <authors@kaetcp.invalid>" CACHE STRING
    "Who answers for the Debian packages")

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

# The device's host library comes with the device, the stand-in with kaehost: libe.so only has to be
# found, and no package is named for it.
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
device. It turns configuration documents into the kernel's TCP/IP tunables,
the files below /proc/sys/net, and gives the kernel back the values that it
found when the layer is released or a file cannot be opened.

The host is not part of this package: it brings its own library, libe.so.
To try documents without a device, install kaehost.")

set(CPACK_DEBIAN_KAETCP-DEV_PACKAGE_NAME kaetcp-dev)
set(CPACK_DEBIAN_KAETCP-DEV_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_KAETCP-DEV_DEPENDS kaetcp)
set(CPACK_DEBIAN_KAETCP-DEV_DESCRIPTION
"declarations of the host that loads the kaetcp plug-in
The C++ headers of the host framework that the TCP/IP plug-in kaetcp is
written against, to write a host that loads it, or a plug-in beside it, with
a CMake package and a pkg-config file, which tell where the plug-in is as well.")

set(CPACK_DEBIAN_KAEHOST_PACKAGE_NAME kaehost)
set(CPACK_DEBIAN_KAEHOST_PACKAGE_SECTION net)
set(CPACK_COMPONENT_KAEHOST_DEPENDS kaetcp)
set(CPACK_DEBIAN_KAEHOST_DESCRIPTION
"tries TCP/IP tunables in a private namespace
Delivers configuration documents of the kaetcp plug-in to the kernel of the
machine that you sit at, in a private namespace, shows what they change there
and whether every value is back in the end. The machine's own tunables stay
out of reach.

It comes with a stand-in for the library of the device's host, examples and a
schema of the documents.")

set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_SOURCE_DIR}/debian/date.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/debian/documents.cmake)
include(CPack)
