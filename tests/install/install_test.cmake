# Installs the build tree BUILD_DIR, then builds and runs the project in SOURCE_DIR against what was installed, by its CMake
# package and by pkg-config. The linker's warnings are errors.
include(${CMAKE_CURRENT_LIST_DIR}/every_header.cmake)

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(expect_script program)
  execute_process(COMMAND ${program} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  if(NOT text STREQUAL "(declare-const p Bool)\n(assert false)\n")
    message(FATAL_ERROR "the script came out as\n${text}")
  endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/consumer -G Ninja -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_BUILD_TYPE=Release -DCMAKE_EXE_LINKER_FLAGS=-Wl,--fatal-warnings)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/consumer)
run(${WORK_DIR}/consumer/terms)
expect_script(${WORK_DIR}/consumer/script)
expect_script(${WORK_DIR}/consumer/static_script)

set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
execute_process(COMMAND pkg-config --cflags --libs quarv-smtlib OUTPUT_VARIABLE flags COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${CXX} -std=c++20 ${SOURCE_DIR}/script.cpp -o ${WORK_DIR}/by_pkg_config ${flags} -Wl,-rpath,${prefix}/${LIBDIR})
expect_script(${WORK_DIR}/by_pkg_config)

find_program(CLANG NAMES clang++ clang++-14)
set(compilers ${CXX})
if(CLANG)
  list(APPEND compilers ${CLANG})
endif()
find_program(GCC NAMES g++ g++-12)
if(GCC)
  list(APPEND compilers ${GCC})
endif()
list(REMOVE_DUPLICATES compilers)
every_header(${prefix} ${LIBDIR} ${WORK_DIR}/every_header ${compilers})

# Calls within calls make the same terms in the same order, whatever compiler the user has.
unset(composed)
foreach(compiler IN LISTS compilers)
  run(${compiler} -std=c++20 ${SOURCE_DIR}/composed.cpp -o ${WORK_DIR}/composed ${flags} -Wl,-rpath,${prefix}/${LIBDIR})
  execute_process(COMMAND ${WORK_DIR}/composed OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  if(DEFINED composed AND NOT text STREQUAL composed)
    message(FATAL_ERROR "built by ${compiler}, composed calls make\n${text}and built by ${CXX}\n${composed}")
  endif()
  set(composed ${text})
endforeach()

# Programs use the large tables where they are.
execute_process(COMMAND readelf --relocs --wide ${WORK_DIR}/consumer/terms OUTPUT_VARIABLE relocations
                COMMAND_ERROR_IS_FATAL ANY)
if(relocations MATCHES "COPY[^\n]*gcd_cache")
  message(FATAL_ERROR "the table of divisors is copied when a program starts")
endif()

if(PROGRAM)
  run(${prefix}/bin/quarv --version)
endif()
# What only the build needs stays behind.
file(GLOB_RECURSE stray ${prefix}/*.cpp ${prefix}/*.rules ${prefix}/bin/rulec)
list(FILTER stray EXCLUDE REGEX "/share/doc/[^/]+/examples/")
if(stray)
  message(FATAL_ERROR "installed, but of no use to anyone: ${stray}")
endif()
