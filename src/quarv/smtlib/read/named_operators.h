#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <quarv/smtlib/read/operators.h>

namespace quarv::smtlib {

/// An operator as it is written: a name, or a name with indices, "(_ extract 7 0)".
struct OperatorText {
  std::string name;
  std::vector<std::string> indices;
};

/// Takes the text of an operator apart. \throws std::invalid_argument when it is neither a name nor a name
/// with indices
OperatorText split_operator(std::string_view text);

/// Whether SMT-LIB's theories have an operator of that name.
bool is_operator(std::string_view name);

/// The operator of that name; null for none.
const OperatorDefinition* find_operator(std::string_view name);

/// Applies an operator to the right number of indices and arguments. \throws SortError when they do not fit
const Term* apply_operator(OperatorContext& context, const OperatorDefinition& op,
                           std::span<const std::size_t> indices, OperatorDefinition::Args args);

/// Applies an operator of SMT-LIB's theories. Throws std::invalid_argument for an unknown operator or a wrong
/// number of indices or arguments, SortError when the arguments do not fit.
const Term* apply_operator(OperatorContext& context, const OperatorText& op, OperatorDefinition::Args args);

}  // namespace quarv::smtlib
