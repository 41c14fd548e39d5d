#include "explain/why_not.h"

#include <memory>
#include <ostream>
#include <set>
#include <sstream>

#include <fmt/core.h>

#include "explain/term_text.h"
#include "replay/replay_checker.h"
#include "rules/rule_catalogue.h"
#include <quarv/rules/language/rule_orders.h>
#include <quarv/rules/rule_interpreter.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/trace.h>
#include <quarv/smtlib/write/printer.h>

namespace quarv::cli {

namespace {

/// One term after a script.
class TermInContext {
 public:
  TermInContext(std::string_view context, const std::string& name, const std::string& text) {
    reader_.read_in_place(context, name);
    term_ = reader_.term(text, "TERM");
  }

  TermName name() const { return term_->id; }

  std::string trace() {
    std::ostringstream out;
    smtlib::Trace trace(session_.manager(), session_.simplifier().normalizer, out);
    trace.define(term_);
    trace.finish();
    return std::move(out).str();
  }

  /// What the rule, which applies, makes of the term.
  std::string rewritten(const rules::Rule& rule) {
    const rules::InterpretedRule rewrite(rule);
    const Term* result = nullptr;
    if (!rewrite(&session_.manager(), term_, &result)) return {};
    std::ostringstream text;
    smtlib::print_term(session_.manager(), result, text);
    return std::move(text).str();
  }

 private:
  Session session_{{.simplify = false}};
  smtlib::Reader reader_{session_};
  const Term* term_ = nullptr;
};

/// "t = x, c = #x01, n = 3"
std::string bindings(const rules::Rule& rule, const RuleMatch& match, TraceTerms::Names& names,
                     TermText& text) {
  std::string list;
  const auto add = [&list](const std::string& name, const std::string& value) {
    list += (list.empty() ? "" : ", ") + name + " = " + value;
  };
  for (std::size_t i = 0; i < rule.pattern.size(); ++i) {
    const rules::PatternNode& node = rule.pattern[i];
    if (node.kind == rules::PatternNode::Kind::variable) add(node.name, text.text(names(match.term(i))));
  }
  for (std::size_t i = 0; i < rule.parameters.size(); ++i) {
    if (rule.parameters[i].source == rules::Parameter::Source::pattern) {
      add(rule.parameters[i].name, std::to_string(match.integer(i)));
    }
  }
  return list;
}

}  // namespace

void explain_mismatch(std::string_view context, const std::string& name, const std::string& label,
                      const rules::Rule& rule, const std::string& term, bool colour, std::ostream& out) {
  constexpr std::size_t length = 300;
  TermInContext given(context, name, term);
  const std::string text = given.trace();
  TraceFile trace(text, "");
  TraceStep step;
  trace.next(step);
  TraceTerms terms;
  TraceTerms::Names names(terms, trace);
  TermText shown(terms, length, colour ? colour_marks : quotation_marks);
  const TraceTerms::Id root = names(given.name());

  const std::string head = fmt::format("rule {}: ", label);
  out << head << rule.text << '\n';
  const std::vector<rules::Rule> orders = rules::orders_of(rule);
  std::ostringstream failures;
  failures.exceptions(std::ios::badbit);  // lack of memory must not look like an error of the stream
  for (std::size_t i = 0; i < orders.size(); ++i) {
    RuleMatch match(trace, orders[i]);
    const auto mismatch = match.mismatch(trace.term(given.name()), given.name());
    if (!mismatch) {
      out << "applies to " << shown.text(root);
      if (rule.is_unordered) out << " as " << rules::pattern_in_order(orders[i]);
      out << "\nyields     " << given.rewritten(rule) << '\n';
      return;
    }
    if (rule.is_unordered) {
      failures << fmt::format("{}. {}: {}\n", i + 1, rules::pattern_in_order(orders[i]), mismatch->reason);
    } else {
      failures << std::string(head.size() + mismatch->column - 1, ' ') << "^\n";
      failures << "does not apply: " << mismatch->reason << '\n';
    }
    const char* const margin = rule.is_unordered ? "     " : "  ";
    const TraceTerms::Id place = names(match.term(mismatch->position));
    failures << margin << "in   " << shown.text_at(root, place, place) << '\n';
    if (!mismatch->in_pattern) {
      failures << margin << "with " << bindings(orders[i], match, names, shown) << '\n';
    }
  }
  if (rule.is_unordered) {
    out << fmt::format("does not apply in {}\n", orders.size() == 1
                                                     ? "its only order"
                                                     : fmt::format("any of its {} orders", orders.size()));
  }
  out << failures.str();
}

}  // namespace quarv::cli
