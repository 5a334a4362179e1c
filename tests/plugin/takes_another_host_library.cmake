# The device's own libe.so takes the stand-in's place: the plug-in links against it, needs it by its
# plain name and looks for it nowhere in particular, and the stand-in is not even built.

function(run)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN} failed:\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${SCRATCH})
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${SCRATCH} -G ${GENERATOR}
  -DCMAKE_CXX_COMPILER=${COMPILER} -DKAETCP_HOST_LIBRARY=${HOST_LIBRARY} -DBUILD_TESTING=OFF)
run(${CMAKE_COMMAND} --build ${SCRATCH} --target kaetcp)
run(${READELF} -dW ${SCRATCH}/libkaetcp.so)
file(GLOB_RECURSE stand_in ${SCRATCH}/libe.so)
file(REMOVE_RECURSE ${SCRATCH})

if(NOT output MATCHES "\\(NEEDED\\)[^\n]*\\[libe\\.so\\]")
  message(FATAL_ERROR "the plug-in does not need libe.so by its name:\n${output}")
endif()
if(output MATCHES "RUNPATH|RPATH")
  message(FATAL_ERROR "the plug-in carries a run path:\n${output}")
endif()
if(stand_in)
  message(FATAL_ERROR "the stand-in was built too: ${stand_in}")
endif()
