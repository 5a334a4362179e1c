# A build without run-time type information is refused, with a sentence that says why and whose
# advice works.

function(configure flags)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${SCRATCH} -G ${GENERATOR}
      -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${flags} -DBUILD_TESTING=OFF
    RESULT_VARIABLE result
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output)
  set(result ${result} PARENT_SCOPE)
  set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${SCRATCH})
configure("")
if(NOT result EQUAL 0)
  message(FATAL_ERROR "does not configure with run-time type information:\n${output}")
endif()
configure(-fno-rtti)
set(refused ${result})
set(refusal ${output})
configure("")
file(REMOVE_RECURSE ${SCRATCH})
if(NOT result EQUAL 0)
  message(FATAL_ERROR "still refused with -fno-rtti removed:\n${output}")
endif()
set(result ${refused})
set(output "${refusal}")

if(result EQUAL 0)
  message(FATAL_ERROR "configured without run-time type information:\n${output}")
endif()
# Messages are wrapped where it suits the terminal.
string(REGEX REPLACE "[ \n]+" " " sentence "${output}")
if(NOT sentence MATCHES "needs run-time type information, because .*remove -fno-rtti")
  message(FATAL_ERROR "refused, but not for want of run-time type information:\n${output}")
endif()
