# Configurations whose plug-in could not work are refused before anything is built, each with a
# sentence whose advice works: without run-time type information, without a host library or the
# stand-in, with a host library that is not there, and with one that the linker would not find by its
# name.

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

function(expect_refused option sentence)
  configure(${option})
  if(result EQUAL 0 OR NOT output MATCHES "${sentence}")
    message(FATAL_ERROR "${option} is not refused as it should be (${result}):\n${output}")
  endif()
endfunction()

function(expect_accepted option)
  configure(${option})
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${option} is refused:\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE ${SCRATCH})
expect_refused(-DKAETCP_HOST_LIBRARY=/nowhere/libe.so
  "there is no file /nowhere/libe\\.so: give the path of .* -U")
file(TOUCH ${SCRATCH}/libe.so.1)
expect_refused(-DKAETCP_HOST_LIBRARY=${SCRATCH}/libe.so.1
  "in a file named libe\\.so: give a link of that name to ")
file(CREATE_LINK libe.so.1 ${SCRATCH}/libe.so SYMBOLIC)
expect_accepted(-DKAETCP_HOST_LIBRARY=${SCRATCH}/libe.so)
expect_accepted(-UKAETCP_HOST_LIBRARY)
expect_refused(-DKAETCP_DEVHOST=OFF "KAETCP_HOST_LIBRARY is not set, .*-DKAETCP_DEVHOST=ON")
expect_accepted(-DKAETCP_DEVHOST=ON)
expect_refused(-DCMAKE_CXX_FLAGS=-fno-rtti
  "needs run-time type information, because .*remove -fno-rtti")
expect_accepted(-DCMAKE_CXX_FLAGS=)
file(REMOVE_RECURSE ${SCRATCH})
