# What the targets of the project share: the language, the warnings, the sanitizers.
find_program(QUARV_CCACHE ccache)
if(QUARV_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${QUARV_CCACHE})
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

# For everything else.
add_library(quarv_options INTERFACE)
target_link_libraries(quarv_options INTERFACE quarv_warnings)
if(QUARV_SANITIZE)
  target_compile_options(quarv_options INTERFACE -fsanitize=${QUARV_SANITIZE} -fno-sanitize-recover=all
                                                 -fno-omit-frame-pointer)
  target_compile_definitions(quarv_options INTERFACE _GLIBCXX_ASSERTIONS)
  target_link_options(quarv_options INTERFACE -fsanitize=${QUARV_SANITIZE})
endif()

# For tests and the program, after quarv_options: what is made of large headers and does no work itself is to be compiled
# soon. It is optimised little, and without the checks of each use of a pointer, which the address sanitizer makes too.
add_library(quarv_compiled_soon INTERFACE)
target_compile_options(quarv_compiled_soon INTERFACE $<$<CONFIG:Release>:-O1>)
if(QUARV_SANITIZE)
  target_compile_options(quarv_compiled_soon INTERFACE -fno-sanitize=null,alignment,vptr)
endif()
