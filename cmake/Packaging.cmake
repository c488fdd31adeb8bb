# What is installed, and the packages made from it.
include(CMakePackageConfigHelpers)

set(ECLIPSE_INT_CMAKE_DIRECTORY ${CMAKE_INSTALL_LIBDIR}/cmake/eclipse_int)

install(TARGETS eclipse_int eclipse_int_headers EXPORT eclipse_int
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/eclipse_int DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT eclipse_int NAMESPACE eclipse_int:: FILE eclipse_int-targets.cmake DESTINATION ${ECLIPSE_INT_CMAKE_DIRECTORY})
configure_package_config_file(cmake/eclipse_int-config.cmake.in ${PROJECT_BINARY_DIR}/generated/eclipse_int-config.cmake
  INSTALL_DESTINATION ${ECLIPSE_INT_CMAKE_DIRECTORY} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/generated/eclipse_int-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/generated/eclipse_int-config.cmake
  ${PROJECT_BINARY_DIR}/generated/eclipse_int-config-version.cmake
  DESTINATION ${ECLIPSE_INT_CMAKE_DIRECTORY})

if(TARGET eclipse_int_host_check)
  install(TARGETS eclipse_int_host_check EXPORT eclipse_int ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(TARGETS eclipse_int_checking_plugin LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/eclipse_int/host_kit)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/host_kit/include/eclipse_int DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/eclipse_int-host-checks.cmake DESTINATION ${ECLIPSE_INT_CMAKE_DIRECTORY})
endif()

if(ECLIPSE_INT_BUILD_COMMAND)
  install(TARGETS eclipse-int RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/schema/ DESTINATION ${CMAKE_INSTALL_DATADIR}/eclipse-int)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/man/eclipse-int.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/man/eclipse-int-descriptor.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/man/eclipse-int-host.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7)
  install(FILES ${PROJECT_SOURCE_DIR}/command/completion/eclipse-int DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  # Links in these documents lead only to what is installed beside them.
  install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR}
    PATTERN docs/man EXCLUDE)
endif()

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME eclipse-int)
set(CPACK_PACKAGE_CONTACT "eclipse_int developers <eclipse-int@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)
