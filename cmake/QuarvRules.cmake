# quarv_compile_rules(TARGET SET): compiles rules/SET.rules to C++ and adds the sources to TARGET. Several source files
# let them be compiled side by side.
function(quarv_compile_rules target set)
  set(num_parts 8)
  set(rule_file ${CMAKE_CURRENT_SOURCE_DIR}/rules/${set}.rules)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/compiled_rules)
  set(sources ${folder}/register_${set}_rules.cpp)
  foreach(part RANGE 1 ${num_parts})
    list(APPEND sources ${folder}/${set}_rules_${part}.cpp)
  endforeach()
  add_custom_command(
    OUTPUT ${sources} ${folder}/${set}_rule_classes.h
    COMMAND quarv_rulec ${rule_file} ${folder} ${num_parts}
    DEPENDS quarv_rulec ${rule_file}
    COMMENT "Compiling ${set}.rules"
    VERBATIM)
  target_sources(${target} PRIVATE ${sources} ${folder}/${set}_rule_classes.h)
endfunction()
