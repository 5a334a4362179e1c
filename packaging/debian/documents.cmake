# Run by cpack on what it is about to pack: adds what Debian wants in every package.

set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})

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
endforeach()
