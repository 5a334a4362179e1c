# A device's own libe.so takes the stand-in's place: the plug-in links against it, needs it by its
# plain name and looks for it nowhere in particular. The stand-in is not even built. What was built
# stays, for the host's program to load.

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
  -DCMAKE_CXX_COMPILER=${COMPILER} -DKAETCP_HOST_LIBRARY=${HOST_LIBRARY} -DBUILD_TESTING=OFF)
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
