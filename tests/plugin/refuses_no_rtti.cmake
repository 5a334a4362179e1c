# A build without run-time type information is refused, with a sentence that says why.

file(REMOVE_RECURSE ${SCRATCH})
execute_process(
  COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${SCRATCH} -G ${GENERATOR}
    -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=-fno-rtti -DBUILD_TESTING=OFF
  RESULT_VARIABLE result
  OUTPUT_VARIABLE output
  ERROR_VARIABLE output)
file(REMOVE_RECURSE ${SCRATCH})

if(result EQUAL 0)
  message(FATAL_ERROR "configured without run-time type information:\n${output}")
endif()
# Messages are wrapped where it suits the terminal.
string(REGEX REPLACE "[ \n]+" " " sentence "${output}")
if(NOT sentence MATCHES "needs run-time type information, because .*remove -fno-rtti")
  message(FATAL_ERROR "refused, but not for want of run-time type information:\n${output}")
endif()
