// Which operators do not mind the order of their operands: what the table says is what constructors do.
#include <term/operator_table.h>
#include <utility>

#include <gtest/gtest.h>

#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/operators.h>

namespace quarv {
namespace {

TEST(OperandOrder, OfConstructorsIsInTheTableOfOperators) {
  TermManager mgr;
  StdTermSimplifier simplifier;
  termsimpl::register_standard_simplifications(&mgr, &simplifier);
  mgr.set_simplifier(&simplifier);
  const OperatorTable table(mgr);
  for (const OperatorSample& sample : table.rows()) {
    const OperatorRow& row = operator_row(sample.tag);
    // Congruences are polynomials, whichever side their summands were on.
    if (row.signature.arity < 2 || row.tag == SymbolTag::INT_MOD_CONGR) continue;
    OperatorSample::Terms args = table.variables(sample);
    const Term** const last = &args.back();
    if (mgr.type_of(last[-1]) != mgr.type_of(last[0])) continue;
    const Term* before = sample.make(args);
    std::swap(last[-1], last[0]);
    // Rules order the operands of others.
    const bool ordered = sample.make(args) == before;
    EXPECT_TRUE(!ordered || row.commutes_from != OperatorRow::never) << row.name;
  }
}

}  // namespace
}  // namespace quarv
