# cpack runs this on the files that it is going to pack. It adds the files that Debian requires in
# every package, and makes all folders accessible to all users, independent of the umask.

function(add_document source folder name)
  file(COPY ${CMAKE_CURRENT_LIST_DIR}/${source} DESTINATION ${folder}
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  file(RENAME ${folder}/${source} ${folder}/${name})
endfunction()

function(compress)
  execute_process(COMMAND gzip -9n ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component ${CPACK_COMPONENTS_ALL})
  set(share ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share)
  if(component MATCHES "(.*)-symbols")  # a package of debug symbols has those of the other package
    file(MAKE_DIRECTORY ${share}/doc)
    file(CREATE_LINK ${CMAKE_MATCH_1} ${share}/doc/${CMAKE_MATCH_1}-dbgsym SYMBOLIC)
  else()
    add_document(copyright ${share}/doc/${component} copyright)
    add_document(changelog ${share}/doc/${component} changelog.Debian)
    file(GLOB pages ${share}/man/man*/*.[1-9])
    compress(${share}/doc/${component}/changelog.Debian ${pages})
  endif()

  file(GLOB_RECURSE contents LIST_DIRECTORIES true ${CPACK_TEMPORARY_DIRECTORY}/${component}/*)
  foreach(folder ${contents})
    if(IS_DIRECTORY ${folder} AND NOT IS_SYMLINK ${folder})
      file(CHMOD ${folder} PERMISSIONS
        OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    endif()
  endforeach()
endforeach()
