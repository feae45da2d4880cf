# What `cmake --install` puts under the prefix: the command, the plug-in
# (versioned, with its SONAME), the public headers, the host kit, pkg-config
# files, a CMake package (find_package(wzss CONFIG) -> wzss::reader,
# wzss::host, wzss::wzss), the man page and the bash completion.
include(CMakePackageConfigHelpers)

set(WZSS_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/wzss)

install(TARGETS wzss wzss_host wzss_cli EXPORT wzssTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/wzss DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT wzssTargets NAMESPACE wzss:: DESTINATION ${WZSS_CMAKE_DIR})

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/wzssConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/wzssConfig.cmake
                              INSTALL_DESTINATION ${WZSS_CMAKE_DIR})
# The plug-in's SONAME changes with the major version, so only that must match.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/wzssConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/wzssConfig.cmake ${PROJECT_BINARY_DIR}/wzssConfigVersion.cmake
        DESTINATION ${WZSS_CMAKE_DIR})

# The .pc files name the prefix relative to their own folder, so the tree
# stays usable wherever `cmake --install --prefix` puts it.
file(RELATIVE_PATH WZSS_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" WZSS_PC_TO_PREFIX "${WZSS_PC_TO_PREFIX}")
foreach(pc wzss wzss-host)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${pc}.pc.in ${PROJECT_BINARY_DIR}/${pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${pc}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

install(FILES ${PROJECT_SOURCE_DIR}/docs/wzss.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${PROJECT_SOURCE_DIR}/src/cli/completion.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME wzss)
