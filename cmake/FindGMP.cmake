# GMP brings no CMake package of its own. Defines the target GMP::gmp.
find_path(GMP_INCLUDE_DIR gmpxx.h)
find_library(GMP_LIBRARY gmp)
mark_as_advanced(GMP_INCLUDE_DIR GMP_LIBRARY)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(GMP REQUIRED_VARS GMP_LIBRARY GMP_INCLUDE_DIR)
if(GMP_FOUND AND NOT TARGET GMP::gmp)
  add_library(GMP::gmp UNKNOWN IMPORTED GLOBAL)
  set_target_properties(GMP::gmp PROPERTIES IMPORTED_LOCATION ${GMP_LIBRARY}
                                            INTERFACE_INCLUDE_DIRECTORIES ${GMP_INCLUDE_DIR})
endif()
