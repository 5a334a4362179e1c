# Run by cpack on what it is about to pack: adds what Debian wants in every package, and lets
# everybody into its folders, whatever the umask was when they were made.

function(add_document source folder name)
  file(COPY ${CMAKE_CURRENT_LIST_DIR}/${source} DESTINATION ${folder}
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  file(RENAME ${folder}/${source} ${folder}/${name})
endfunction()

function(compress)
  execute_process(COMMAND gzip -9n ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(package ${CPACK_COMPONENTS_ALL})
  set(share ${CPACK_TEMPORARY_DIRECTORY}/${package}/usr/share)
  add_document(copyright ${share}/doc/${package} copyright)
  add_document(changelog ${share}/doc/${package} changelog.Debian)
  file(GLOB pages ${share}/man/man*/*.[1-9])
  compress(${share}/doc/${package}/changelog.Debian ${pages})

  file(GLOB_RECURSE contents LIST_DIRECTORIES true ${CPACK_TEMPORARY_DIRECTORY}/${package}/*)
  foreach(folder ${contents})
    if(IS_DIRECTORY ${folder})
      file(CHMOD ${folder} PERMISSIONS
        OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    endif()
  endforeach()
endforeach()
