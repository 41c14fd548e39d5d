#pragma once

#include <vector>

#include <quarv/export.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_simplifier.h>

namespace quarv {

/// The NaN that stands for all of a format: positive, quiet, without another payload. `ew` bits of exponent,
/// `mw` stored bits of significand.
QUARV_API const Term* canonical_nan(TermManager& manager, std::size_t ew, std::size_t mw);

/// The standard simplifiers without what the SMT-LIB standard does not justify, for formulas whose meaning
/// must not change.
///
/// The standard has one NaN. Here every NaN literal, in arguments and in results, is replaced by the one that
/// is positive and quiet and has no other payload, so that two NaN literals of one type are the same term.
///
/// The standard leaves some values open, of which the standard simplifiers choose one. An interpretation may
/// choose another, so folding could make a satisfiable formula unsatisfiable. These applications are built as
/// they are:
/// - minimum and maximum of two zeros of opposite sign;
/// - the conversion to a bit-vector of NaN, an infinity, or a number that is, once rounded to an integer, out
///   of the bit-vector's range, which is signed or unsigned as the conversion is;
/// - the encoding of NaN as a bit-vector.
///
/// Four of the standard rewrite rules do not hold for all values:
/// - `bvsdiv(t, t) >> 1`: for t = 0 the quotient is all ones;
/// - `t1 - t2 == t2 - t3 >> t1 == t3`: not for t1 = 2, t2 = 1, t3 = 0;
/// - `zext(n, t) == -1 >> false`, in both orders: not for n = 0.
/// The first two are turned off; an extension by no bits is replaced by its argument before any rule sees it.
class QUARV_API StrictSemantics : public TermSimplifier {
 public:
  /// `standard` is not owned and must live as long as this.
  explicit StrictSemantics(StdTermSimplifier& standard) : standard_(standard) {}

  /// Turns off the rules of `standard` that do not hold for all values. To be called when they are
  /// registered.
  void turn_off_unsound_rules();
  /// Turns off the rules on extensions too. To be called when this does not simplify the terms that rules
  /// see.
  void turn_off_extension_rules();

  const Term* simplify(TermManager* manager, const Symbol* symbol,
                       const std::vector<const Term*>& args) override;

 private:
  StdTermSimplifier& standard_;
};

}  // namespace quarv
