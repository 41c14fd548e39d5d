// z3 finds no assignment that tells a simplified atom from the original.
#include <simpl/arith/linear_samples.h>
#include <support/external_solver.h>
#include <support/test_scale.h>

namespace quarv {
namespace {

class SmtText {
 public:
  explicit SmtText(const TermManager& mgr) : mgr_(mgr) {}

  /// The term where a term of this type is expected.
  std::string text(const Term* t, const DataType* expected) const {
    const bool coerced = expected == mgr_.rat_type && mgr_.type_of(t) == mgr_.int_type;
    return coerced ? list("to_real", {bare(t)}) : bare(t);
  }

 private:
  static std::string list(const std::string& head, const std::vector<std::string>& parts) {
    std::string result = "(";
    result += head;
    for (const std::string& part : parts) {
      result += ' ';
      result += part;
    }
    result += ')';
    return result;
  }

  static std::string integer(const mpz_class& n) {
    return n < 0 ? list("-", {mpz_class(-n).get_str()}) : n.get_str();
  }

  std::string bare(const Term* t) const {
    if (const QNumber* n = mgr_.get_number(t)) {
      return n->is_integer()
                 ? integer(n->num())
                 : list("/", {list("to_real", {integer(n->num())}), list("to_real", {integer(n->den())})});
    }
    if (mgr_.arity(t) == 0) return t->symbol->name;
    const bool integers = mgr_.type_of(t->args[0]) == mgr_.int_type &&
                          mgr_.type_of(t->args[mgr_.arity(t) - 1]) == mgr_.int_type;
    const DataType* type = integers ? mgr_.int_type : mgr_.rat_type;
    QNumber modulus;
    switch (mgr_.get_tag(t->symbol)) {
      case SymbolTag::PLUS:
        return operation("+", t, mgr_.type_of(t));
      case SymbolTag::TIMES:
        return operation("*", t, mgr_.type_of(t));
      case SymbolTag::LEQ:
        return operation("<=", t, type);
      case SymbolTag::EQ:
        return operation("=", t, type);
      case SymbolTag::FLOOR:
        return operation("to_int", t, mgr_.rat_type);
      case SymbolTag::INT_MOD_CONGR: {
        mgr_.is_int_modular_congruence(t->symbol, &modulus);
        // Not divisible, which z3 knows for small moduli only.
        return list("= 0", {list("mod", {operation("-", t, type), modulus.to_string()})});
      }
      default:
        return operation(t->symbol->name, t, type);
    }
  }

  std::string operation(const std::string& head, const Term* t, const DataType* type) const {
    std::vector<std::string> parts;
    for (const Term* child : mgr_.args_of(t)) parts.push_back(text(child, type));
    return list(head, parts);
  }

  const TermManager& mgr_;
};

TEST(ArithAgainstZ3, SimplifiedAtomsAreEquivalent) {
  if (!has_program("z3")) GTEST_SKIP() << "z3 is not installed: nothing to compare with";
  LinearSamples samples(5);
  const SmtText printer(samples.mgr);
  std::string script = "(declare-fun f (Int) Int)\n";
  for (int n = 0; n < 4; ++n) {
    script += std::string("(declare-const ") + samples.integers[n]->symbol->name + " Int)\n";
    script += std::string("(declare-const ") + samples.rationals[n]->symbol->name + " Real)\n";
  }
  std::vector<std::string> queries;
  for (int n = 0; n < num_cases(500); ++n) {
    const LinearSamples::Pair atom = samples.atom(1 + n % 3);
    std::string query = "(assert (not (= ";
    query += printer.text(atom.plain, samples.mgr.bool_type);
    query += ' ';
    query += printer.text(atom.simplified, samples.mgr.bool_type);
    query += ")))";
    script += "(push)\n" + query + "\n(check-sat)\n(pop)\n";
    queries.push_back(std::move(query));
  }
  const std::vector<std::string> answers = solver_output("z3 -in -t:2000", script);
  for (const std::string& answer : answers) ASSERT_EQ(answer.find("error"), std::string::npos) << answer;
  ASSERT_EQ(answers.size(), queries.size());
  std::size_t confirmed = 0;
  for (std::size_t n = 0; n < answers.size(); ++n) {
    // z3 may give up on floors, congruences and large numbers together, but must not find a difference.
    EXPECT_TRUE(answers[n] == "unsat" || answers[n] == "unknown") << answers[n] << ": " << queries[n];
    confirmed += answers[n] == "unsat";
  }
  EXPECT_GE(confirmed, queries.size() * 9 / 10);
  RecordProperty("confirmed", std::to_string(confirmed));
}

}  // namespace
}  // namespace quarv
