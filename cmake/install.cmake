# cmake --install: library, headers, what finds them, and the tools; cpack -G DEB: a package
# a component.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/indexuser)

# One export a component of find_package(), named after it: what is there can be found.
install(TARGETS indexuser indexuser_platform EXPORT indexuserTargets
    LIBRARY COMPONENT library NAMELINK_COMPONENT dev
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/indexuser)
install(TARGETS indexuser_standalone EXPORT standaloneTargets
    LIBRARY COMPONENT library NAMELINK_COMPONENT dev)
set(components indexuser standalone)
set(modules platform format indexuser standalone)

if(INDEXUSER_INSPECT)
    install(TARGETS indexuser_format indexuser_inspect EXPORT inspectTargets ARCHIVE COMPONENT dev)
    install(TARGETS indexuser_mend EXPORT mendTargets ARCHIVE COMPONENT dev)
    list(APPEND components inspect mend)
    list(APPEND modules inspect mend)
endif()

foreach(component ${components})
    install(EXPORT ${component}Targets
        NAMESPACE indexuser:: DESTINATION ${package_dir} COMPONENT dev)
endforeach()
foreach(module ${modules})
    install(DIRECTORY src/indexmodel/${module}
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/indexuser COMPONENT dev
        FILES_MATCHING PATTERN *.h PATTERN *_p.h EXCLUDE)
endforeach()

if(INDEXUSER_TOOLS)
    file(RELATIVE_PATH bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(indexuserctl PROPERTIES INSTALL_RPATH $ORIGIN/${bin_to_lib})
    install(TARGETS indexuserctl EXPORT toolsTargets RUNTIME COMPONENT tools)
    install(EXPORT toolsTargets
        NAMESPACE indexuser:: DESTINATION ${package_dir} COMPONENT tools)
    install(FILES ${PROJECT_BINARY_DIR}/indexuserctl.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
    install(FILES src/indexuserctl/terminal/indexuserctl.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME indexuserctl
        COMPONENT tools)
endif()

# What stands on PostgreSQL is a package of its own, with the program that the tool hands over to.
if(INDEXUSER_ROAMING)
    set(libexec_dir ${CMAKE_INSTALL_LIBEXECDIR}/indexuser)
    file(RELATIVE_PATH libexec_to_lib
        ${CMAKE_INSTALL_FULL_LIBEXECDIR}/indexuser ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(indexuserctl-roam PROPERTIES INSTALL_RPATH $ORIGIN/${libexec_to_lib})
    install(TARGETS indexuserctl-roam RUNTIME DESTINATION ${libexec_dir} COMPONENT roaming)
    install(TARGETS indexuser_roaming EXPORT roamingTargets ARCHIVE COMPONENT roaming)
    install(EXPORT roamingTargets
        NAMESPACE indexuser:: DESTINATION ${package_dir} COMPONENT roaming)
    install(DIRECTORY src/indexmodel/roaming
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/indexuser COMPONENT roaming
        FILES_MATCHING PATTERN *.h PATTERN *_p.h EXCLUDE)
    install(DIRECTORY src/indexmodel/roaming/sql
        DESTINATION ${CMAKE_INSTALL_DATADIR}/indexuser COMPONENT roaming
        FILES_MATCHING PATTERN *.sql)
endif()

configure_package_config_file(cmake/indexuserConfig.cmake.in
    ${PROJECT_BINARY_DIR}/indexuserConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/indexuserConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/indexuserConfig.cmake
    ${PROJECT_BINARY_DIR}/indexuserConfigVersion.cmake DESTINATION ${package_dir} COMPONENT dev)

# From the file itself, so that an installation may be staged or moved.
set(pc_dir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pc_prefix ${pc_dir} ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH pc_includedir ${pc_dir} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(cmake/indexuser.pc.in ${PROJECT_BINARY_DIR}/indexuser.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/indexuser.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME indexuser)
set(CPACK_PACKAGE_CONTACT "indexuser developers <indexuser@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "User configuration of a quote client")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_COMPONENTS_ALL library dev)
if(INDEXUSER_TOOLS)
    list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
if(INDEXUSER_ROAMING)
    list(APPEND CPACK_COMPONENTS_ALL roaming)
endif()
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libindexuser${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libindexuser-dev)
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME indexuser-tools)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "qtbase5-dev, libboost-thread-dev, liblog4cxx-dev, libfmt-dev, libxml2-dev")
set(CPACK_DEBIAN_ROAMING_PACKAGE_NAME libindexuser-roaming)
set(CPACK_DEBIAN_ROAMING_PACKAGE_SUGGESTS "indexuser-tools, libindexuser-dev, libpq-dev")
set(CPACK_COMPONENT_DEV_DEPENDS library)
set(CPACK_COMPONENT_TOOLS_DEPENDS library)
set(CPACK_COMPONENT_ROAMING_DEPENDS library)
include(CPack)
