# Run by CPack on the files of a package before it is made: what only a Debian package needs.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}/share)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/debian-copyright ${share}/doc/${package}/copyright COPYONLY)
  file(WRITE ${share}/doc/${package}/changelog "${package} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * See CHANGELOG.md in the documents of the package eclipse-int.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  file(CHMOD ${share}/doc/${package}/copyright ${share}/doc/${package}/changelog
    PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  file(GLOB compressed ${share}/doc/${package}/changelog ${share}/man/*/*.[1-9])
  execute_process(COMMAND gzip -9n ${compressed} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
