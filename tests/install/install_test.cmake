# Installs the build tree BUILD_DIR, then builds and runs the project in SOURCE_DIR against what was installed.
function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/consumer -G Ninja -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/consumer)
run(${WORK_DIR}/consumer/terms)

execute_process(COMMAND ${WORK_DIR}/consumer/script OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
if(NOT text STREQUAL "(declare-const p Bool)\n(assert false)\n")
  message(FATAL_ERROR "the script came out as\n${text}")
endif()
if(PROGRAM)
  run(${prefix}/bin/quarv --version)
endif()
# What only the build needs stays behind.
file(GLOB_RECURSE stray ${prefix}/*.cpp ${prefix}/*.rules ${prefix}/bin/rulec)
if(stray)
  message(FATAL_ERROR "installed, but of no use to anyone: ${stray}")
endif()
