# What the targets of the project share: the language, the warnings, the sanitizers.
set(quarv_compile_once ${PROJECT_SOURCE_DIR}/cmake/compile_once.sh)
option(QUARV_COMPILE_ONCE "Let the tests that build quarv again use what is compiled here; each file takes a second more" OFF)
if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
  if(QUARV_COMPILE_ONCE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${quarv_compile_once})
  else()
    find_program(QUARV_CCACHE ccache)
    if(QUARV_CCACHE)
      set(CMAKE_CXX_COMPILER_LAUNCHER ${QUARV_CCACHE})
    endif()
  endif()
endif()

# For programs that run only during the build.
add_library(quarv_warnings INTERFACE)
target_compile_features(quarv_warnings INTERFACE cxx_std_20)
target_compile_options(quarv_warnings INTERFACE -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual)
# g++ 12 reports overlapping copies inside std::string concatenation that cannot happen (its bug 105651).
target_compile_options(quarv_warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(QUARV_WERROR)
  target_compile_options(quarv_warnings INTERFACE -Werror)
endif()

# For everything else. QUARV_NO_SANITIZE names checks that are left out: those of each use of a pointer take half
# of the time of compiling, and most of what they find the address sanitizer finds, too.
add_library(quarv_options INTERFACE)
target_link_libraries(quarv_options INTERFACE quarv_warnings)
if(QUARV_SANITIZE)
  target_compile_options(quarv_options INTERFACE -fsanitize=${QUARV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  if(QUARV_NO_SANITIZE)
    target_compile_options(quarv_options INTERFACE -fno-sanitize=${QUARV_NO_SANITIZE})
  endif()
  target_compile_definitions(quarv_options INTERFACE _GLIBCXX_ASSERTIONS)
  target_link_options(quarv_options INTERFACE -fsanitize=${QUARV_SANITIZE})
endif()

# For tests and the program, after quarv_options: what is made of large headers and does no work itself is to be compiled
# soon. It is optimised little, and under sanitizers, whose checks optimising would take half of the time for, not at all.
add_library(quarv_compiled_soon INTERFACE)
target_compile_options(quarv_compiled_soon INTERFACE $<$<CONFIG:Release>:-O1>)
if(QUARV_SANITIZE MATCHES "address")
  target_compile_options(quarv_compiled_soon INTERFACE -O0 -fno-sanitize=alignment)
endif()
