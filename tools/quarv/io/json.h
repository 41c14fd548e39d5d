#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace quarv::cli {

/// Text that is not JSON, or a JSON value of another kind than was asked for.
class JsonError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A JSON value. Objects keep the order in which their members were added.
class Json {
 public:
  struct Member;

  Json();  ///< null
  Json(bool truth);
  template <std::integral T>
  requires(!std::same_as<T, bool>) Json(T number);
  Json(double number);
  Json(std::string text);
  Json(std::string_view text);
  Json(const char* text);
  /// An object if each part is a list of a string and a value; otherwise an array.
  Json(std::initializer_list<Json> parts);
  static Json array();
  static Json array(std::vector<Json> elements);
  static Json object();

  /// Throws JsonError for text that is not JSON, or that nests more than 100 lists and objects.
  static Json parse(std::string_view text);

  /// On one line, or on lines indented by `indent` spaces a level. Throws JsonError where a string is not
  /// UTF-8.
  std::string text(int indent = -1) const;
  /// On one line; what is not UTF-8 becomes U+FFFD.
  std::string repaired_text() const;

  bool is_string() const { return std::holds_alternative<std::string>(value_); }
  bool is_array() const { return std::holds_alternative<std::vector<Json>>(value_); }
  bool is_object() const { return std::holds_alternative<std::vector<Member>>(value_); }
  bool is_number() const { return is_integer() || holds<double>(); }
  /// A number without fraction and exponent.
  bool is_integer() const { return is_count() || holds<std::int64_t>(); }
  /// One without sign, too.
  bool is_count() const { return holds<std::uint64_t>(); }

  // These throw JsonError for a value of another kind.
  bool boolean() const;
  const std::string& string() const;
  const std::vector<Json>& elements() const;
  const std::vector<Member>& members() const;
  /// A fraction loses what is behind its point as an integer; a number that is out of range throws.
  template <class T>
  requires std::is_arithmetic_v<T> T number()
  const;

  /// Throws JsonError where there is no such member or element.
  const Json& at(std::string_view name) const;
  const Json& at(std::size_t i) const;
  /// Null where there is no such member.
  const Json* find(std::string_view name) const;
  bool contains(std::string_view name) const { return find(name) != nullptr; }
  std::string string_or(std::string_view name, std::string_view otherwise) const;
  bool boolean_or(std::string_view name, bool otherwise) const;
  template <class T>
  T number_or(std::string_view name, T otherwise) const;

  /// Adds a member where there is none of this name; null becomes an object.
  Json& operator[](std::string_view name);
  void push_back(Json element);
  /// Adds the members of another object, or gives those of the same names its values.
  void update(const Json& other);
  void erase(std::string_view name);

  friend bool operator==(const Json& a, const Json& b);

 private:
  template <class T>
  bool holds() const {
    return std::holds_alternative<T>(value_);
  }

  template <class T>
  const T& get(const char* what) const;
  double real() const;

  std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, std::vector<Json>,
               std::vector<Member>>
      value_;
};

struct Json::Member {
  std::string name;
  Json value;
  friend bool operator==(const Member&, const Member&) = default;
};

// What makes a value is defined where members of objects are complete.

template <std::integral T>
requires(!std::same_as<T, bool>) Json::Json(T number) {
  if (std::cmp_less(number, 0)) {
    value_ = static_cast<std::int64_t>(number);
  } else {
    value_ = static_cast<std::uint64_t>(number);
  }
}

template <class T>
requires std::is_arithmetic_v<T> T Json::number()
const {
  if constexpr (std::is_floating_point_v<T>) {
    return real();
  } else {
    if (const auto* n = std::get_if<std::uint64_t>(&value_); n != nullptr && std::in_range<T>(*n)) {
      return static_cast<T>(*n);
    }
    if (const auto* n = std::get_if<std::int64_t>(&value_); n != nullptr && std::in_range<T>(*n)) {
      return static_cast<T>(*n);
    }
    constexpr double exact = 9007199254740992;  // from here on not every integer is a double
    const double x = real();
    if (!(x > -exact && x < exact) || !std::in_range<T>(static_cast<std::int64_t>(x))) {
      throw JsonError("a number is out of range");
    }
    return static_cast<T>(x);
  }
}

template <class T>
T Json::number_or(std::string_view name, T otherwise) const {
  const Json* const member = find(name);
  return member == nullptr ? otherwise : member->number<T>();
}

}  // namespace quarv::cli
