# What is installed, and the packages made from it.
include(CMakePackageConfigHelpers)

set(ECLIPSE_INT_CMAKE_DIRECTORY ${CMAKE_INSTALL_LIBDIR}/cmake/eclipse_int)

install(TARGETS eclipse_int eclipse_int_headers EXPORT eclipse_int
  LIBRARY DESTINATION ${ECLIPSE_INT_PLUGIN_DIRECTORY} COMPONENT library)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/eclipse_int DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT eclipse_int NAMESPACE eclipse_int:: FILE eclipse_int-targets.cmake DESTINATION ${ECLIPSE_INT_CMAKE_DIRECTORY}
  COMPONENT development)
configure_package_config_file(cmake/eclipse_int-config.cmake.in ${PROJECT_BINARY_DIR}/generated/eclipse_int-config.cmake
  INSTALL_DESTINATION ${ECLIPSE_INT_CMAKE_DIRECTORY} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/generated/eclipse_int-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/generated/eclipse_int-config.cmake
  ${PROJECT_BINARY_DIR}/generated/eclipse_int-config-version.cmake
  DESTINATION ${ECLIPSE_INT_CMAKE_DIRECTORY} COMPONENT development)

if(TARGET eclipse_int_host_check)
  install(TARGETS eclipse_int_host_check EXPORT eclipse_int ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
  install(TARGETS eclipse_int_checking_plugin LIBRARY DESTINATION ${ECLIPSE_INT_PLUGIN_DIRECTORY}/host_kit COMPONENT command)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/host_kit/include/eclipse_int DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/eclipse_int-host-checks.cmake DESTINATION ${ECLIPSE_INT_CMAKE_DIRECTORY}
    COMPONENT development)
endif()

if(ECLIPSE_INT_BUILD_COMMAND)
  install(TARGETS eclipse-int RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT command)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/schema/ DESTINATION ${CMAKE_INSTALL_DATADIR}/eclipse-int COMPONENT command)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/man/eclipse-int.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT command)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/man/eclipse-int-descriptor.5 ${PROJECT_SOURCE_DIR}/docs/man/eclipse-int-session.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT command)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/man/eclipse-int-host.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7 COMPONENT development)
  install(FILES ${PROJECT_SOURCE_DIR}/command/completion/eclipse-int DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    COMPONENT command)
  # Links in these documents lead only to what is installed beside them.
  install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT command)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT command
    PATTERN docs/man EXCLUDE)
endif()

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME eclipse-int)
set(CPACK_PACKAGE_CONTACT "eclipse_int developers <eclipse-int@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# One Debian package for each component, and one archive of all. Without a summary of all,
# the first line of each description is the synopsis.
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL library development)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libeclipse-int)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "${PROJECT_DESCRIPTION}
The plug-in, which an installer host loads. It runs the p2 director of the
instance.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libeclipse-int-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libeclipse-int (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "eclipse-int (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Development files for an installer host that loads eclipse_int
Headers, CMake package, pkg-config file, and the checks as a library for the
tests of a host. The documents, the examples and the command that checks a
host are in the package eclipse-int.")
if(ECLIPSE_INT_BUILD_COMMAND)
  list(APPEND CPACK_COMPONENTS_ALL command)
  set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME eclipse-int)
  set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION admin)
  set(CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS "libeclipse-int (= ${PROJECT_VERSION})")
  set(CPACK_COMPONENT_COMMAND_DESCRIPTION "Runs, previews and verifies installations of Eclipse features
A stand-alone host for the plug-in libeclipse_int.so, which also finds
mistakes in its input and checks other hosts.")
endif()
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/DebianFiles.cmake)
include(CPack)
