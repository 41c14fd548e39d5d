#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

#include <quarv/rules/language/rule_language.h>

namespace quarv::cli {

/// Says whether `rule` applies to a term, and if not, which part of its pattern or which of its conditions is
/// the first that does not fit; of an unordered rule, for each order. `label` is what the rule is called. The
/// term is SMT-LIB text that may use all that the script `context`, of that name, declares and defines; it is
/// taken as it is written, not simplified. Throws InputError.
void explain_mismatch(std::string_view context, const std::string& name, const std::string& label,
                      const rules::Rule& rule, const std::string& term, bool colour, std::ostream& out);

}  // namespace quarv::cli
