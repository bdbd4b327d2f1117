# cmake --install: library, headers, what finds them, and the tool; cpack -G DEB: three packages.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/indexuser)

install(TARGETS indexuser indexuser_standalone EXPORT indexuserTargets
    LIBRARY COMPONENT library NAMELINK_COMPONENT dev)
install(TARGETS indexuser_inspect EXPORT indexuserTargets ARCHIVE COMPONENT dev)
install(TARGETS indexuser_platform EXPORT indexuserTargets)
install(EXPORT indexuserTargets
    NAMESPACE indexuser:: DESTINATION ${package_dir} COMPONENT dev)

foreach(module indexuser platform standalone inspect)
    install(DIRECTORY src/indexmodel/${module}
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/indexuser COMPONENT dev
        FILES_MATCHING PATTERN *.h PATTERN *_p.h EXCLUDE)
endforeach()

configure_package_config_file(cmake/indexuserConfig.cmake.in
    ${CMAKE_BINARY_DIR}/indexuserConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/indexuserConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/indexuserConfig.cmake
    ${CMAKE_BINARY_DIR}/indexuserConfigVersion.cmake DESTINATION ${package_dir} COMPONENT dev)
configure_file(cmake/indexuser.pc.in ${CMAKE_BINARY_DIR}/indexuser.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/indexuser.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

install(TARGETS indexuserctl RUNTIME COMPONENT tools)
install(FILES ${CMAKE_BINARY_DIR}/indexuserctl.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
install(FILES src/indexuserctl/indexuserctl.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME indexuserctl
    COMPONENT tools)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME indexuser)
set(CPACK_PACKAGE_CONTACT "indexuser developers <indexuser@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "User configuration of a quote client")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_COMPONENTS_ALL library dev tools)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libindexuser${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libindexuser-dev)
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME indexuser-tools)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "qtbase5-dev, libboost-thread-dev, liblog4cxx-dev, libfmt-dev, libxml2-dev")
set(CPACK_COMPONENT_DEV_DEPENDS library)
set(CPACK_COMPONENT_TOOLS_DEPENDS library)
include(CPack)
