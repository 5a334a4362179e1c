# A device's own libe.so takes the stand-in's place: the plug-in links against it, needs it by its
# plain name and looks for it nowhere in particular. Nothing of the development host is built, and no
# library that it needs is looked for. The plug-in is installed where the device's host looks for it,
# and what was built stays, for a program to load.

function(run)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN} failed:\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

# Runs the commands of the page, as they stand there but for the two paths that every device has of
# its own, in a copy of the sources.
set(source ${SCRATCH}/source)
set(build ${source}/build/device)
set(plugin ${build}/libkaetcp.so)
file(REMOVE_RECURSE ${SCRATCH})
file(GLOB parts RELATIVE ${SOURCE} ${SOURCE}/*)
list(REMOVE_ITEM parts .git build)  # the folder of the sources itself may be named so, too
list(TRANSFORM parts PREPEND ${SOURCE}/)
file(COPY ${parts} DESTINATION ${source})
file(READ ${SOURCE}/docs/installing.md page)
string(REGEX REPLACE ".*\n## For a device\n" "" page "${page}")
if(NOT page MATCHES "```sh\n([^`]*cmake --install [^`]*)```")
  message(FATAL_ERROR "docs/installing.md has no commands for a device")
endif()
string(REPLACE /path/to/libe.so "'${HOST_LIBRARY}'" commands "${CMAKE_MATCH_1}")
string(REPLACE /path/to/image "'${SCRATCH}/image'" commands "${commands}")
set(ENV{CMAKE_GENERATOR} ${GENERATOR})
set(ENV{CXX} ${COMPILER})
run(bash -ec "${commands}" WORKING_DIRECTORY ${source})

file(GLOB_RECURSE built RELATIVE ${build} ${build}/*.so ${build}/kaehost)
if(NOT built STREQUAL libkaetcp.so)
  message(FATAL_ERROR "these were built: ${built}")
endif()
file(STRINGS ${build}/CMakeCache.txt looked_for REGEX "libelf|libxml2|expat|CLI11|nlohmann")
if(looked_for)
  message(FATAL_ERROR "a device's build looks for more than a compiler:\n${looked_for}")
endif()

run(${READELF} -dW ${plugin})
if(NOT output MATCHES "\\(NEEDED\\)[^\n]*\\[libe\\.so\\]")
  message(FATAL_ERROR "the plug-in does not need libe.so by its name:\n${output}")
endif()
if(output MATCHES "RUNPATH|RPATH")
  message(FATAL_ERROR "the plug-in carries a run path:\n${output}")
endif()
run(${NM} --dynamic --defined-only --format=posix ${plugin})
if(NOT output MATCHES "^this_kae_plugin [^\n]*\n$")
  message(FATAL_ERROR "the plug-in exports other symbols than this_kae_plugin alone:\n${output}")
endif()

function(expect_installed path)
  file(GLOB_RECURSE installed RELATIVE ${SCRATCH}/image ${SCRATCH}/image/*.so)
  if(NOT installed STREQUAL path)
    message(FATAL_ERROR "of all libraries, these were installed: ${installed}")
  endif()
endfunction()
expect_installed(usr/lib/device/plugins/libkaetcp.so)

# The folder can be absolute too.
run(${CMAKE_COMMAND} -DKAETCP_PLUGIN_DIR=/opt/device/plugins ${build})
file(REMOVE_RECURSE ${SCRATCH}/image)
set(ENV{DESTDIR} ${SCRATCH}/image)
run(${CMAKE_COMMAND} --install ${build} --component kaetcp)
expect_installed(opt/device/plugins/libkaetcp.so)
file(READ ${build}/packaging/kaetcp.pc output)
if(NOT output MATCHES "\nplugin=/opt/device/plugins/libkaetcp[.]so\n")
  message(FATAL_ERROR "the pkg-config file names another plug-in:\n${output}")
endif()
