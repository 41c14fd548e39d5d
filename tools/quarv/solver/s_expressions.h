#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quarv::cli {

// SMT-LIB text as S-expressions. Nothing here recurses: real scripts nest tens of thousands of levels deep.

/// The outermost expressions of a text whose parentheses match; comments between them are left out.
std::vector<std::string_view> split(std::string_view text);

/// The parts of an expression in parentheses; an atom is its own only part.
std::vector<std::string_view> items(std::string_view expression);

/// The symbol that an expression in parentheses begins with; empty when there is none.
std::string_view head(std::string_view expression);

/// A symbol without its quotes.
std::string_view unquoted(std::string_view symbol);

/// True for texts that differ in white space, comments and needless quotes only.
bool same_tokens(std::string_view a, std::string_view b);

/// Calls `visit` with every symbol of the text, without quotes, as often as it occurs.
void for_each_symbol(std::string_view text, const std::function<void(std::string_view)>& visit);

/// The text on one line, cut off after about `limit` characters.
std::string one_line(std::string_view text, std::size_t limit);

}  // namespace quarv::cli
