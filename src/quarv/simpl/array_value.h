#pragma once

namespace quarv {

class TermManager;
struct Term;

namespace termsimpl {

enum class Comparison { equal, different, undecided };

/// Compares two arrays of one type, both values in the sense of `is_value` (model values included).
///
/// `equal` is returned only for arrays with the same contents, `different` only when some index provably
/// holds different elements. Elements are compared with `TermManager::make_equal`. Undecided are, among
/// others, arrays whose indices may denote the same thing although they are different terms (model values,
/// arrays), and arrays whose nesting is too deep, or whose inner writes are too many, to be compared in
/// reasonable time.
Comparison compare_array_values(TermManager* mgr, const Term* a, const Term* b);

}  // namespace termsimpl
}  // namespace quarv
