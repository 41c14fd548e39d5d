#include "rules/order/loop_search.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <vector>

#include "rules/overlap/pattern_terms.h"
#include "rules/overlap/rule_overlap.h"
#include <quarv/rules/queries/rule_instance.h>
#include <quarv/session/session.h>
#include <quarv/smtlib/read/reader.h>

namespace quarv::cli {

using rules::Rule;
using rules::RuleInstance;

std::string loop_through(std::span<const Rule> rules, std::size_t i, bool own) {
  constexpr std::size_t width = 8;
  constexpr std::size_t most_instances = 24;
  SessionOptions options;
  options.extended = true;
  if (own) {
    std::string text;
    for (const Rule& rule : rules) text += rule.text + '\n';
    options.extra_rules.push_back({"rules", std::move(text)});
  }
  const std::optional<RuleOverlap> own_terms = overlap_of(rules[i], 0, rules[i]);
  if (!own_terms) return {};
  const Rule& pattern = own_terms->pattern;
  std::vector<RuleInstance> instances =
      has_widths(pattern) ? rules::some_instances(pattern, width) : rules::all_instances(pattern, 1);
  if (instances.empty()) return {};
  instances.resize(std::min(instances.size(), most_instances));
  // Ages, and numerals where there are any.
  const std::size_t attempts = std::max(num_attempts(pattern), most_instances) / instances.size() + 1;
  for (std::size_t k = 0; k < instances.size() * attempts; ++k) {
    const std::string script = PatternTerms(pattern, instances[k % instances.size()]).script(k);
    Session session(options);
    try {
      smtlib::Reader reader(session);
      reader.read(script, "pattern");
    } catch (const std::exception&) {
      continue;
    }
    const TermNormalizer::Statistics& statistics = session.simplifier().normalizer.statistics();
    if (statistics.cycles != 0 || statistics.budget_spent != 0) return on_one_line(script);
  }
  return {};
}

const char* why_it_ends(std::string_view name) {
  if (name.starts_with("bvshl-distribute") || name.starts_with("bvlshr-distribute")) {
    return "shifts move below bitwise operators, and nothing moves them back";
  }
  if (name == "bvand-constant-concat") return "masks move below concatenations, and nothing moves them back";
  if (name.starts_with("eq-bvmul-predecessor")) {
    return "a sum with -1 below a product is gone, and no rule makes one";
  }
  return nullptr;
}

}  // namespace quarv::cli
