#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <quarv/rules/rule_language.h>

namespace quarv::cli {

/// The standard rules, in the order of their numbers.
std::vector<rules::Rule> standard_rules();
/// How many they are; reads none of them.
std::size_t num_standard_rules();

/// The rules of a file; "-" is standard input. Throws FileError and smtlib::Error.
std::vector<rules::Rule> rules_of_file(const std::string& file);

/// Why the standard rule of that number, from 1, does not hold for all values; null for one that does.
const char* known_counterexample(std::size_t number);

/// Whether no term meets all conditions of the standard rule of that number.
bool never_applies(std::size_t number) noexcept;

/// The largest width for which a solver has proved the standard rule of that number within seconds.
std::size_t proved_up_to(std::size_t number);

}  // namespace quarv::cli
