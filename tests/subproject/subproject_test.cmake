# Configures the project in SOURCE_DIR, which has quarv as a part of it, in both ways, builds it in one, and runs what it made.
# What follows "--" are options of the build.
function(run)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
  if(status)
    message(FATAL_ERROR "${ARGN}:\n${output}")
  endif()
endfunction()

foreach(i RANGE 1 ${CMAKE_ARGC})
  if(DEFINED options)
    list(APPEND options ${CMAKE_ARGV${i}})
  elseif("${CMAKE_ARGV${i}}" STREQUAL "--")
    set(options "")
  endif()
endforeach()

# Builds TARGET... in FOLDER, which has been configured without a launcher: whether quarv sets its parent's shows then.
function(build folder)
  run(${CMAKE_COMMAND} -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER} ${WORK_DIR}/${folder})
  run(${CMAKE_COMMAND} --build ${WORK_DIR}/${folder} --target ${ARGN})
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
set(configure ${CMAKE_COMMAND} -S ${SOURCE_DIR} -G Ninja -DQUARV_DIR=${QUARV_DIR} ${options})
run(${configure} -B ${WORK_DIR}/fetched -DBY_FETCH_CONTENT=ON -DQUARV_BUILD_TOOLS=OFF)
build(fetched quarv_rulec)
run(${configure} -B ${WORK_DIR}/added)
build(added terms script)
run(${WORK_DIR}/added/terms)
execute_process(COMMAND ${WORK_DIR}/added/script OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
if(NOT text STREQUAL "(declare-const p Bool)\n(assert false)\n")
  message(FATAL_ERROR "the script came out as\n${text}")
endif()
# By itself, without the program.
run(${CMAKE_COMMAND} -S ${QUARV_DIR} -B ${WORK_DIR}/libraries -G Ninja ${options} -DQUARV_BUILD_TOOLS=OFF
    -DQUARV_BUILD_TESTS=OFF -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON -DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON)
build(libraries quarv_rulec)
