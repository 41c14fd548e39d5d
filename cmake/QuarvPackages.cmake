# `cpack`, run in a build folder, makes Debian packages of it: the program, the shared libraries, what development needs, and
# the Python package.
find_program(DPKG_SHLIBDEPS dpkg-shlibdeps)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quarv)
set(CPACK_PACKAGE_VENDOR "the quarv developers")
set(CPACK_PACKAGE_CONTACT "the quarv developers <quarv@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
# Where the project is to be found. Unless whoever makes the packages says more, that is what they hold themselves.
set(QUARV_HOMEPAGE "file:///usr/share/doc/quarv/docs/index.md" CACHE STRING "The homepage that packages name")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${QUARV_HOMEPAGE})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION math)
if(DPKG_SHLIBDEPS)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
# Where dpkg-shlibdeps finds the libraries of the other packages.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src/quarv)

set(same_version "(= ${PROJECT_VERSION})")
set(soname libquarv${PROJECT_VERSION_MAJOR})
set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET quarv_program)
  list(APPEND CPACK_COMPONENTS_ALL program)
endif()
if(TARGET quarv_python)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME quarv)
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "term simplification for SMT: the program
 Makes SMT-LIB 2 formulas smaller without changing what they mean.")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SUGGESTS "z3")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${soname})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "term simplification for SMT: shared libraries
 Terms, exact numbers, simplifiers and rewrite rules, with SMT-LIB 2 reader and printer.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libquarv-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${soname} ${same_version}, libgmp-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "term simplification for SMT: headers and static libraries
 For programs in C++ and C that use quarv.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-quarv)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${soname} ${same_version}, python3 (>= 3.11), python3 (<< 3.12)")
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "term simplification for SMT: Python package
 Terms with operators, simplification and SMT-LIB 2 scripts.")

# Each package has licence and changelog; documentation and examples are in those of their readers.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
file(ARCHIVE_CREATE OUTPUT ${PROJECT_BINARY_DIR}/changelog.gz PATHS ${PROJECT_SOURCE_DIR}/CHANGELOG.md FORMAT raw
     COMPRESSION GZip MTIME 0)
set(doc ${CMAKE_INSTALL_DATADIR}/doc)
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} key)
  set(folder ${doc}/${CPACK_DEBIAN_${key}_PACKAGE_NAME})
  install(FILES LICENSE DESTINATION ${folder} RENAME copyright COMPONENT ${component})
  install(FILES ${PROJECT_BINARY_DIR}/changelog.gz DESTINATION ${folder} COMPONENT ${component})
endforeach()
install(FILES README.md SECURITY.md DESTINATION ${doc}/quarv COMPONENT program)
install(DIRECTORY docs/ DESTINATION ${doc}/quarv/docs COMPONENT program FILES_MATCHING PATTERN "*.md" PATTERN site EXCLUDE)
install(DIRECTORY examples DESTINATION ${doc}/libquarv-dev COMPONENT development PATTERN "*.py" EXCLUDE)
install(FILES examples/python_terms.py DESTINATION ${doc}/python3-quarv/examples COMPONENT python)
include(CPack)
