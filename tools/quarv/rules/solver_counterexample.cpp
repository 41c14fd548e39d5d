#include "rules/solver_counterexample.h"

#include <exception>

#include "reference/library_terms.h"
#include "reference/terms.h"
#include <quarv/session/session.h>
#include <quarv/smtlib/read/reader.h>

namespace quarv::cli {

namespace {

/// The refutation with the values in the places of the variables.
std::string instantiated(const rules::RuleQuery& query, std::span<const std::string> values) {
  std::string bindings;
  for (std::size_t i = 0; i < query.variables.size(); ++i) {
    bindings += '(' + query.variables[i].symbol + ' ' + values[i] + ')';
  }
  return bindings.empty() ? refutation(query) : "(let (" + bindings + ") " + refutation(query) + ')';
}

}  // namespace

std::optional<bool> is_counterexample(const rules::Rule& rule, const rules::RuleQuery& query,
                                      std::span<const std::string> values) {
  // Where these many interpretations agree on every part, nothing is open.
  constexpr std::size_t num_interpretations = 8;
  try {
    Session session({.simplify = false});
    smtlib::Reader reader(session);
    reader.read(sort_declarations(rule), "solver");
    reference::Sorts sorts;
    reference::Expressions expressions;
    reference::LibraryTerms terms(session.manager(), sorts, expressions);
    const std::size_t refuted = terms.place(reader.term(instantiated(query, values)));
    reference::Evaluation evaluation(expressions, num_interpretations);
    for (std::size_t place = 0; place < expressions.size(); ++place) {
      const reference::Column& column = evaluation[place];
      for (std::size_t i = 1; i < num_interpretations; ++i) {
        if (!equal(expressions[place].sort, column.value(0), column.value(i))) return std::nullopt;
      }
    }
    return evaluation[refuted].words[0] != 0;
  } catch (const std::exception&) {
    return std::nullopt;  // the reader, or the evaluator, does not know what the solver has written
  }
}

}  // namespace quarv::cli
