#include "rules/rule_catalogue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>
#include <utility>

#include <fmt/core.h>

#include "io/input.h"
#include "rules/rule_checker.h"
#include "rules/rule_proofs.h"
#include <quarv/rules/bitvector_rules.h>
#include <quarv/rules/extended_rules.h>
#include <quarv/rules/term_normalizer.h>
#include <quarv/util/input_error.h>
#include <quarv/util/nearest_name.h>
#include <quarv/util/source_excerpt.h>

namespace quarv::cli {

namespace {

std::vector<rules::Rule> registered_rules(void (*register_rules)(TermNormalizer*)) {
  TermNormalizer normalizer;
  register_rules(&normalizer);
  std::vector<rules::Rule> all;
  for (std::size_t i = 0; i < normalizer.num_rules(); ++i) {
    all.push_back(rules::parse_rule(normalizer.get_rule(i).get_signature()));
    all.back().name = normalizer.get_rule(i).get_name();
  }
  return all;
}

using IsTaken = bool (*)(std::string_view);

/// Appends the rules of a text, whose names `is_taken` may refuse.
void add_rules(std::string_view text, const std::string& name, IsTaken is_taken,
               std::vector<rules::Rule>& all) {
  try {
    for (rules::Rule& rule : rules::parse_rules(text)) {
      if (!rule.name.empty() && (find_rule(all, rule.name) || is_taken(rule.name))) {
        throw rules::RuleError(rule.line, rule.column, "another rule already has this name");
      }
      all.push_back(std::move(rule));
    }
  } catch (const rules::RuleError& e) {
    throw InputError(name, e.line(), e.column(), e.reason(),
                     source_excerpt(text, SourcePlace{e.line(), e.column()}));
  }
}

void read_rules(const std::string& file, IsTaken is_taken, std::vector<rules::Rule>& all) {
  const Input input(file);
  add_rules(input.text(), input.name(), is_taken, all);
}

}  // namespace

std::vector<rules::Rule> standard_rules() {
  return registered_rules(&register_bitvector_rules);
}

std::vector<rules::Rule> extended_rules() {
  return registered_rules(&register_extended_rules);
}

std::vector<rules::Rule> rules_of_file(const std::string& file) {
  std::vector<rules::Rule> all;
  // They are alone, and may be those of the tree.
  read_rules(
      file, [](std::string_view) { return false; }, all);
  return all;
}

std::vector<rules::Rule> all_rules_and(const std::vector<std::string>& files) {
  std::vector<rules::Rule> all = standard_rules();
  for (const std::string& file : files) read_rules(file, &is_extended_rule, all);
  for (rules::Rule& rule : extended_rules()) all.push_back(std::move(rule));
  return all;
}

std::vector<rules::Rule> all_rules_and(const std::vector<RuleFile>& files) {
  std::vector<rules::Rule> all = standard_rules();
  for (const RuleFile& file : files) add_rules(file.text, file.name, &is_extended_rule, all);
  for (rules::Rule& rule : extended_rules()) all.push_back(std::move(rule));
  return all;
}

std::vector<std::string> rule_labels(const std::vector<RuleFile>& extra_rules) {
  TermNormalizer normalizer;
  register_bitvector_rules(&normalizer);
  for (const RuleFile& file : extra_rules) register_rule_file(file, normalizer);
  register_extended_rules(&normalizer);
  std::vector<std::string> labels;
  for (std::size_t i = 0; i < normalizer.num_rules(); ++i) labels.push_back(normalizer.rule_label(i));
  return labels;
}

namespace {

/// The extended rules, which are the last ones, have no numbers.
std::size_t num_numbered(const std::vector<rules::Rule>& all) {
  const auto first = std::ranges::find_if(all, &is_extended_rule, &rules::Rule::name);
  return static_cast<std::size_t>(first - all.begin());
}

}  // namespace

std::optional<std::size_t> find_rule(const std::vector<rules::Rule>& all, std::string_view name_or_number) {
  std::size_t number = 0;
  const char* const end = name_or_number.data() + name_or_number.size();
  const auto [rest, error] = std::from_chars(name_or_number.data(), end, number);
  if (rest == end && error == std::errc() && number >= 1 && number <= num_numbered(all)) return number - 1;
  if (name_or_number.empty()) return std::nullopt;
  const auto found = std::ranges::find(all, name_or_number, &rules::Rule::name);
  if (found == all.end()) return std::nullopt;
  return static_cast<std::size_t>(found - all.begin());
}

std::string no_such_rule(const std::vector<rules::Rule>& all, std::string_view name_or_number) {
  const bool is_number =
      !name_or_number.empty() && name_or_number.find_first_not_of("0123456789") == std::string_view::npos;
  if (!is_number) {
    std::vector<std::string> names;
    for (const rules::Rule& rule : all) names.push_back(rule.name);
    const std::string nearest = nearest_name(name_or_number, names);
    return fmt::format("there is no rule \"{}\"{} (see quarv rules list)", name_or_number,
                       nearest.empty() ? "" : fmt::format("; the nearest is \"{}\"", nearest));
  }
  return fmt::format("there is no rule {}: rules are numbered from 1 to {}", name_or_number,
                     num_numbered(all));
}

std::string named_text(const rules::Rule& rule) {
  return rule.name.empty() ? rule.text : rule.name + ": " + rule.text;
}

const char* known_counterexample(std::string_view name) {
  if (name == "bvsdiv-self") return "t = 0: the quotient is all ones";
  if (name == "eq-difference-subtrahend-minuend") return "t1 = 2, t2 = 1, t3 = 0";
  if (name == "eq-zero-extend-ones" || name == "eq-zero-extend-ones-swapped") return "n = 0 and t all ones";
  return nullptr;
}

std::string contradiction(const rules::Rule& rule) {
  using rules::Condition;
  using Kind = Condition::Kind;
  const auto is_constant = [](const Condition& c) {
    return c.kind == Kind::is_const || c.kind == Kind::has_value;
  };
  // All ones is another number at each width, so that it is not a match for comparing.
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

std::size_t proved_up_to(std::string_view name) {
  // Solvers are slow where numbers or floats come in between.
  if (name.starts_with("int2bv-of-")) return 8;
  if (name.starts_with("fp-from-")) return 16;
  return name == "bvashr-merge" ? 32 : 64;
}

namespace {

using Extent = RuleProof::Extent;

RuleProof proof_in(std::string_view rest, std::size_t number) {
  const std::string key = '\n' + std::to_string(number) + '\t';
  const std::size_t found = rest.find(key);
  if (found == std::string_view::npos) return {Extent::partial, "none for all widths"};
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
  if (proof == "none") return {Extent::partial, "none for all widths"};
  if (proof == "where") return {Extent::partial, "for all widths where " + fields[3]};
  return {Extent::all_widths, proof == "never" ? "for all widths: it never applies" : "for all widths"};
}

}  // namespace

RuleProof proof_of(const rules::Rule& rule, std::size_t number, bool extended) {
  if (has_widths(rule)) return proof_in(extended ? extended_rule_proofs() : rule_proofs(), number);
  const std::string formats = list_of_formats(rule);
  if (formats.empty()) return {Extent::all_values, "for all values, by a solver: there are no widths"};
  return {Extent::formats, fmt::format("for all values of the {}, by a solver", formats)};
}

}  // namespace quarv::cli
