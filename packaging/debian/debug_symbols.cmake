# Run when debug symbols are installed: takes them from the files in `with_symbols`, and names each
# by the file's build ID, as debuggers look for it.

foreach(file ${with_symbols})
  execute_process(COMMAND readelf --notes ${file} OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
  if(NOT notes MATCHES "Build ID: (..)([0-9a-f]+)")
    message(FATAL_ERROR "${file} has no build ID: link it with -Wl,--build-id.")
  endif()
  set(folder $ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/lib/debug/.build-id/${CMAKE_MATCH_1})
  set(symbols ${folder}/${CMAKE_MATCH_2}.debug)
  file(MAKE_DIRECTORY ${folder})
  execute_process(COMMAND ${objcopy} --only-keep-debug --compress-debug-sections ${file} ${symbols}
    COMMAND_ERROR_IS_FATAL ANY)
  file(CHMOD ${symbols} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endforeach()
