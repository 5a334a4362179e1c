# cpack runs this first. Packages get the date of their changelog, so that the same sources always
# give the same packages.

set(changelog ${CMAKE_CURRENT_LIST_DIR}/changelog)

function(ask_changelog field result)
  execute_process(COMMAND dpkg-parsechangelog -l ${changelog} -S ${field}
    OUTPUT_VARIABLE answer OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(${result} ${answer} PARENT_SCOPE)
endfunction()

ask_changelog(Version version)
if(NOT version STREQUAL "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
  message(FATAL_ERROR "${changelog}: the first entry is for version ${version}, but the packages "
    "have version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}; add an entry for it.")
endif()
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  ask_changelog(Timestamp timestamp)
  set(ENV{SOURCE_DATE_EPOCH} ${timestamp})
endif()

# Packages for another processor: dpkg's programs take it from here.
if(CPACK_DEBIAN_PACKAGE_ARCHITECTURE)
  set(ENV{DEB_HOST_ARCH} ${CPACK_DEBIAN_PACKAGE_ARCHITECTURE})
endif()
