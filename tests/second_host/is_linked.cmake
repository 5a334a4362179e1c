# A device's own libe.so takes the stand-in's place: the plug-in links against it, needs it by its
# plain name and looks for it nowhere in particular. The stand-in is not even built. The plug-in is
# installed where the device's host looks for it, and what was built stays, for a program to load.

function(run)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN} failed:\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

set(plugin ${SCRATCH}/libkaetcp.so)

file(REMOVE_RECURSE ${SCRATCH})
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${SCRATCH} -G ${GENERATOR}
  -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF
  -DKAETCP_HOST_LIBRARY=${HOST_LIBRARY} -DKAETCP_PLUGIN_DIR=/opt/device/plugins)
run(${CMAKE_COMMAND} --build ${SCRATCH} --target kaetcp)
file(GLOB_RECURSE stand_in ${SCRATCH}/libe.so)
if(stand_in)
  message(FATAL_ERROR "the stand-in was built too: ${stand_in}")
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

set(ENV{DESTDIR} ${SCRATCH}/image)
run(${CMAKE_COMMAND} --install ${SCRATCH} --component kaetcp)
file(GLOB_RECURSE installed RELATIVE ${SCRATCH}/image ${SCRATCH}/image/*.so)
if(NOT installed STREQUAL opt/device/plugins/libkaetcp.so)
  message(FATAL_ERROR "of all libraries, these were installed: ${installed}")
endif()
file(READ ${SCRATCH}/packaging/kaetcp.pc output)
if(NOT output MATCHES "\nplugin=/opt/device/plugins/libkaetcp[.]so\n")
  message(FATAL_ERROR "the pkg-config file names another plug-in:\n${output}")
endif()
