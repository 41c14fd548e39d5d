/// \file
/// Operators as solvers read them. What some solvers do not know is written by what defines it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <quarv/rules/language/rule_language.h>

namespace quarv::rules {

/// The operator on `arguments`, of which the first is a bit-vector of `width` bits, if it is one; a constant
/// array has the sort `sort`.
std::string solver_text(const OperatorWord& op, const std::vector<std::uint64_t>& parameters,
                        const std::vector<std::string>& arguments, std::size_t width,
                        const std::string& sort);

}  // namespace quarv::rules
