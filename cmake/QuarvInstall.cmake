# What `cmake --install` leaves, and `cpack` packs: components runtime (shared libraries), development (headers, static
# libraries, CMake package, pkg-config files), program (with man page and completion) and python.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quarv)

install(TARGETS ${QUARV_LIBRARIES} EXPORT quarvTargets
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development
        RUNTIME COMPONENT runtime
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT quarvTargets NAMESPACE quarv:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/quarvConfig.cmake.in quarvConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(quarvConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quarvConfig.cmake ${PROJECT_BINARY_DIR}/quarvConfigVersion.cmake
              cmake/FindGMP.cmake
        DESTINATION ${package_dir} COMPONENT development)

# Which headers are public is looked up when they are installed, so that no list has to be kept.
install(CODE "
  include(\"${PROJECT_SOURCE_DIR}/cmake/public_headers.cmake\")
  public_headers(\"${PROJECT_SOURCE_DIR}/src\" headers)
  foreach(header IN LISTS headers)
    cmake_path(GET header PARENT_PATH folder)
    file(INSTALL \"${PROJECT_SOURCE_DIR}/src/\${header}\"
         DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_INCLUDEDIR}/\${folder}\")
  endforeach()" COMPONENT development)

# The pkg-config files name the prefix by their own place, so that the tree can be moved.
function(quarv_pkg_config name library description requires)
  set(folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  string(REGEX REPLACE "[^/]+" ".." QUARV_PC_TO_PREFIX ${folder})
  set(QUARV_PC_NAME ${name})
  set(QUARV_PC_LIBRARY ${library})
  set(QUARV_PC_DESCRIPTION ${description})
  set(QUARV_PC_REQUIRES ${requires})
  configure_file(cmake/quarv.pc.in ${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${folder} COMPONENT development)
endfunction()
quarv_pkg_config(quarv quarv "Term simplification for SMT" "gmp")
quarv_pkg_config(quarv-smtlib quarv_smtlib "SMT-LIB 2 reader and printer of quarv, and its C interface"
                 "quarv = ${PROJECT_VERSION}")
