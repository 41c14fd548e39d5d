#include <charconv>
#include <memory>
#include <utility>
#include <vector>

#include <quarv/rules/extended_rules.h>
#include <quarv/rules/rule_interpreter.h>
#include <quarv/session/user_rules.h>
#include <quarv/term/sort_error.h>
#include <quarv/util/input_error.h>
#include <quarv/util/nearest_name.h>
#include <quarv/util/source_excerpt.h>

namespace quarv {

namespace {

/// A rule that knows which file it came from.
class FileRule final : public TermNormalizer::norm_fun {
 public:
  FileRule(std::unique_ptr<rules::InterpretedRule> rule, const std::string& file)
      : rule_(std::move(rule)), file_(file) {}

  SymbolTag::tag get_applicant() override { return rule_->get_applicant(); }
  std::string_view get_name() const override { return rule_->get_name(); }
  std::string get_signature() override { return rule_->get_signature(); }
  int get_group() const override { return rule_->get_group(); }
  rules::ChildShapes get_child_shapes() const override { return rule_->get_child_shapes(); }

  std::size_t num_orders() const override { return rule_->num_orders(); }
  rules::ChildShapes get_order_shapes(std::size_t order) const override {
    return rule_->get_order_shapes(order);
  }

  bool operator()(TermManager* mgr, const Term* t, const Term** out) const override {
    return located([&] { return (*rule_)(mgr, t, out); });
  }
  bool apply_order(std::size_t order, TermManager* mgr, const Term* t, const Term** out) const override {
    return located([&] { return rule_->apply_order(order, mgr, t, out); });
  }

 private:
  /// What `apply` returns; what it throws, with the place in the file.
  template <class Apply>
  bool located(const Apply& apply) const {
    try {
      return apply();
    } catch (const rules::RuleError& e) {
      throw InputError(file_, e.line(), e.column(), e.reason());
    } catch (const SortError& e) {
      throw InputError(file_, rule_->rule().line, 1,
                       std::string("the result of the rule has no sort: ") + e.what());
    }
  }

  std::unique_ptr<rules::InterpretedRule> rule_;
  std::string file_;
};

}  // namespace

bool is_extended_rule(std::string_view name) {
  static const auto rules = [] {
    auto normalizer = std::make_unique<TermNormalizer>();
    register_extended_rules(normalizer.get());
    return normalizer;
  }();
  return rules->find_rule(name).has_value();
}

void register_rule_file(const RuleFile& file, TermNormalizer& normalizer) {
  try {
    auto rules = rules::load_rules(file.text);
    for (const auto& rule : rules) {
      if (!normalizer.find_rule(rule->get_name()) && !is_extended_rule(rule->get_name())) continue;
      throw rules::RuleError(rule->rule().line, rule->rule().column, "another rule already has this name");
    }
    for (auto& rule : rules) normalizer.register_rule(new FileRule(std::move(rule), file.name));
  } catch (const rules::RuleError& e) {
    throw InputError(file.name, e.line(), e.column(), e.reason(),
                     source_excerpt(file.text, SourcePlace{e.line(), e.column()}));
  }
}

void disable_rule(const std::string& which, TermNormalizer& normalizer) {
  const std::size_t num_rules = normalizer.num_rules();
  std::size_t number = 0;
  const char* const end = which.data() + which.size();
  const auto [rest, error] = std::from_chars(which.data(), end, number);
  if (rest == end && !which.empty()) {
    if (error == std::errc() && number >= 1 && number <= num_rules) {
      return normalizer.set_rule_enabled(number - 1, false);
    }
    throw UnknownRule("there is no rule " + which + ": rules are numbered from 1 to " +
                      std::to_string(num_rules));
  }
  if (normalizer.set_rule_enabled(which, false) == 0) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < num_rules; ++i) names.emplace_back(normalizer.get_rule(i).get_name());
    const std::string nearest = nearest_name(which, names);
    throw UnknownRule("there is no rule \"" + which + '"' +
                      (nearest.empty() ? "" : "; the nearest is \"" + nearest + '"'));
  }
}

}  // namespace quarv
