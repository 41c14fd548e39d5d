/// \file
/// Which types numbers are made from.
#pragma once

#include <concepts>
#include <cstdint>
#include <type_traits>

namespace quarv {

/// Types of truth values and of text. They convert to integers, but whoever hands one to a number means
/// something else.
template <class T>
concept BoolOrCharacter = std::same_as<T, bool> || std::same_as<T, char> || std::same_as<T, wchar_t> ||
    std::same_as<T, char8_t> || std::same_as<T, char16_t> || std::same_as<T, char32_t>;

/// Unscoped enumerations, which stand for integers; scoped ones do not.
template <class T>
concept UnscopedEnum = std::is_enum_v<T> && std::is_convertible_v<T, std::int64_t>;

/// Types whose values are integers: those of C++ (`signed char` and `unsigned char`, which are `int8_t` and
/// `uint8_t`, among them), 128-bit integers, and unscoped enumerations.
template <class T>
concept Integer = UnscopedEnum<T> || std::same_as<T, __int128> || std::same_as<T, unsigned __int128> ||
    (std::is_integral_v<T> && !BoolOrCharacter<T>);

/// Built-in types whose values C++ would silently cut to an integer: floating point, `bool` and characters.
template <class T>
concept NotAnInteger = !Integer<T> && !std::is_class_v<T> && std::is_convertible_v<T, std::int64_t>;

}  // namespace quarv
