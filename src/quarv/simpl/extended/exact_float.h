#pragma once

#include <optional>

#include <quarv/numbers/ieee_float.h>
#include <quarv/numbers/q_number.h>
#include <quarv/term/term_manager.h>

/// Floating-point numbers by way of exact rationals: what `IEEEFloat` does not compute, and the rounding of
/// ties away from zero.
namespace quarv::termsimpl::extended {

enum class Rounding : std::uint8_t { to_even, to_away, up, down, to_zero };

/// The mode that a rounding argument stands for; none for a term that is no constant.
std::optional<Rounding> rounding_of(const TermManager& m, const Term* t);

/// Whether the numbers of a format are small enough to be computed with exactly.
bool has_exact_arithmetic(IEEEFloat::format f);

/// The number that a literal stands for; none for other terms and for formats that are too large.
std::optional<IEEEFloat> float_of(const TermManager& m, const Term* t);

/// \pre x is finite, of a format that has exact arithmetic
QNumber exact_value(const IEEEFloat& x);

/// `x`, rounded; a zero has the given sign.
IEEEFloat rounded(const QNumber& x, IEEEFloat::format f, Rounding mode, bool zero_is_negative);

/// An integer next to `x`; itself when it is one.
QNumber rounded_to_integer(const QNumber& x, Rounding mode);

IEEEFloat infinity(IEEEFloat::format f, bool negative);

/// \name As IEEE 754 defines them; none where the result is NaN.
///@{
std::optional<IEEEFloat> sum(const IEEEFloat& a, const IEEEFloat& b, Rounding mode);
std::optional<IEEEFloat> product(const IEEEFloat& a, const IEEEFloat& b, Rounding mode);
std::optional<IEEEFloat> quotient(const IEEEFloat& a, const IEEEFloat& b, Rounding mode);
/// a * b + c, rounded once.
std::optional<IEEEFloat> fused(const IEEEFloat& a, const IEEEFloat& b, const IEEEFloat& c, Rounding mode);
/// a - b * n, where n is the integer nearest to a / b, the even one of two.
std::optional<IEEEFloat> remainder(const IEEEFloat& a, const IEEEFloat& b);
///@}

}  // namespace quarv::termsimpl::extended
