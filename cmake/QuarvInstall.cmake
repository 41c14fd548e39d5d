# The CMake package that `cmake --install` leaves next to headers, libraries and program.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quarv)
configure_package_config_file(cmake/quarvConfig.cmake.in quarvConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(quarvConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quarvConfig.cmake ${PROJECT_BINARY_DIR}/quarvConfigVersion.cmake
              cmake/FindGMP.cmake
        DESTINATION ${package_dir})
install(EXPORT quarvTargets NAMESPACE quarv:: DESTINATION ${package_dir})
