#include "rules/rule_catalogue.h"

#include <array>

#include "io/input.h"
#include "rules/rule_proofs.h"
#include <quarv/rules/bitvector_rules.h>
#include <quarv/rules/term_normalizer.h>
#include <quarv/util/input_error.h>
#include <quarv/util/source_excerpt.h>

namespace quarv::cli {

std::vector<rules::Rule> standard_rules() {
  TermNormalizer normalizer;
  register_bitvector_rules(&normalizer);
  std::vector<rules::Rule> all;
  for (std::size_t i = 0; i < normalizer.num_rules(); ++i) {
    all.push_back(rules::parse_rule(normalizer.get_rule(i).get_signature()));
  }
  return all;
}

std::size_t num_standard_rules() {
  TermNormalizer normalizer;
  register_bitvector_rules(&normalizer);
  return normalizer.num_rules();
}

std::vector<rules::Rule> rules_of_file(const std::string& file) {
  const Input input(file);
  try {
    return rules::parse_rules(input.text());
  } catch (const rules::RuleError& e) {
    throw InputError(input.name(), e.line(), e.column(), e.reason(),
                        source_excerpt(input.text(), SourcePlace{e.line(), e.column()}));
  }
}

const char* known_counterexample(std::size_t number) {
  switch (number) {
    case 46:
      return "t = 0: the quotient is all ones";
    case 144:
      return "t1 = 2, t2 = 1, t3 = 0";
    case 179:
    case 180:
      return "n = 0 and t all ones";
    default:
      return nullptr;
  }
}

std::string contradiction(const rules::Rule& rule) {
  using rules::Condition;
  using Kind = Condition::Kind;
  const auto is_constant = [](const Condition& c) {
    return c.kind == Kind::is_const || c.kind == Kind::has_value;
  };
  // All ones is another number at each width, so that it is no match for comparing.
  const auto exclude = [&](const Condition& a, const Condition& b) {
    if (a.a != b.a) return false;
    if (a.kind == Kind::is_not_const) return is_constant(b);
    return a.kind == Kind::has_value && b.kind == Kind::has_value && a.value >= 0 && b.value >= 0 &&
           a.value != b.value;
  };
  for (const Condition& a : rule.conditions) {
    for (const Condition& b : rule.conditions) {
      if (exclude(a, b)) return a.text + " and " + b.text;
    }
  }
  return {};
}

std::size_t proved_up_to(std::size_t number) {
  constexpr std::size_t repeated_shift = 67;
  return number == repeated_shift ? 32 : 64;
}

RuleProof proof_for_all_widths(std::size_t number) {
  const std::string key = '\n' + std::to_string(number) + '\t';
  std::string_view rest = rule_proofs();
  const std::size_t found = rest.find(key);
  if (found == std::string_view::npos) return {false, "none for all widths"};
  rest.remove_prefix(found + 1);
  std::array<std::string, 4> fields;
  std::size_t field = 0;
  for (const char c : rest.substr(0, rest.find('\n'))) {
    if (c != '\t') {
      fields[field] += c;
    } else if (++field == fields.size()) {
      break;
    }
  }
  const std::string& proof = fields[2];
  if (proof == "none") return {false, "none for all widths"};
  if (proof == "where") return {false, "for all widths where " + fields[3]};
  return {true, proof == "never" ? "for all widths: it never applies" : "for all widths"};
}

}  // namespace quarv::cli
