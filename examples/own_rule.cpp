// A rewrite rule of one's own, given as text, and an observer that sees it at work.
#include <iostream>

#include <quarv/quarv.h>
#include <quarv/smtlib.h>

namespace {

class Watch : public quarv::SimplificationObserver {
 public:
  Watch(const quarv::TermManager& mgr, const quarv::TermNormalizer& rules) : mgr_(mgr), rules_(rules) {}

  void on_rule(std::size_t rule, const quarv::Term* before, const quarv::Term* after) override {
    std::cout << "rule " << rules_.rule_label(rule) << ", " << rules_.get_rule(rule).get_signature()
              << "\n  ";
    quarv::smtlib::print_term(mgr_, before, std::cout);
    std::cout << "\n  becomes ";
    quarv::smtlib::print_term(mgr_, after, std::cout);
    std::cout << '\n';
  }
  void on_simplification(const quarv::Symbol*, std::span<const quarv::Term* const>,
                         const quarv::Term*) override {}

 private:
  const quarv::TermManager& mgr_;
  const quarv::TermNormalizer& rules_;
};

// Absorption: x | (y & x) is x. Terms are put in order before rules see them, so both orders of the
// conjunction are there.
constexpr const char* absorption =
    "bvor-absorb-second: rewrite(bvor(t1, bvand(t2, t1_0)), identity(t1, t1_0)) >> t1\n"
    "bvor-absorb-first: rewrite(bvor(t1, bvand(t1_0, t2)), identity(t1, t1_0)) >> t1\n";

}  // namespace

int main() {
  quarv::TermManager mgr;
  quarv::StdTermSimplifier simplifier;
  quarv::termsimpl::register_standard_simplifications(&mgr, &simplifier);
  mgr.set_simplifier(&simplifier);

  for (auto& rule : quarv::rules::load_rules(absorption)) {
    std::cout << quarv::rules::in_words(rule->rule()) << '\n';
    simplifier.normalizer.register_rule(rule.release());  // which owns it from now on
  }

  Watch watch(mgr, simplifier.normalizer);
  simplifier.set_observer(&watch);
  const quarv::Term* x = mgr.make_constant("x", mgr.get_bv_type(8));
  const quarv::Term* y = mgr.make_constant("y", mgr.get_bv_type(8));
  const quarv::Term* both = mgr.make_bv_and(y, x);
  const quarv::Term* either = mgr.make_bv_or(x, both);
  const quarv::Term* normal = simplifier.normalizer.normalize(&mgr, either);
  return normal == x ? 0 : 1;
}
