# A host library that is not there, or that the linker would not find by its name, is refused before
# anything is built, with its path and with advice that works.

function(configure)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${SCRATCH} -G ${GENERATOR}
      -DCMAKE_CXX_COMPILER=${COMPILER} -DBUILD_TESTING=OFF ${ARGN}
    RESULT_VARIABLE result
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output)
  set(result ${result} PARENT_SCOPE)
  # Messages are wrapped where it suits the terminal.
  string(REGEX REPLACE "[ \n]+" " " output "${output}")
  set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${SCRATCH})
configure(-DKAETCP_HOST_LIBRARY=/nowhere/libe.so)
if(result EQUAL 0 OR NOT output MATCHES "there is no file /nowhere/libe\\.so: give the path of .* -U")
  message(FATAL_ERROR "not refused as it should be (${result}):\n${output}")
endif()
file(TOUCH ${SCRATCH}/libe.so.1)
configure(-DKAETCP_HOST_LIBRARY=${SCRATCH}/libe.so.1)
if(result EQUAL 0 OR NOT output MATCHES "in a file named libe\\.so: give a link of that name to ")
  message(FATAL_ERROR "a file of another name is not refused as it should be (${result}):\n${output}")
endif()
file(CREATE_LINK libe.so.1 ${SCRATCH}/libe.so SYMBOLIC)
configure(-DKAETCP_HOST_LIBRARY=${SCRATCH}/libe.so)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "a link of the right name is refused:\n${output}")
endif()
configure(-UKAETCP_HOST_LIBRARY)
file(REMOVE_RECURSE ${SCRATCH})
if(NOT result EQUAL 0)
  message(FATAL_ERROR "still refused with the option taken back:\n${output}")
endif()
