#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <quarv/rules/language/rule_language.h>

namespace quarv::cli {

/// A term of a few operators over variables and constants: what a rule's pattern matches, or what stands in
/// its place. Widths, indices and constants are numbers here; a rule made of it names them.
struct SmallTerm {
  struct Node {
    enum class Kind : std::uint8_t { variable, constant, application };
    Kind kind = Kind::variable;
    std::size_t width = 0;    ///< in bits; 0 of a truth value
    std::size_t number = 0;   ///< of a variable; of a constant that has a name: counted together, from 1
    std::uint64_t value = 0;  ///< of a constant; truth values are 0 and 1
    const rules::OperatorWord* op = nullptr;  ///< of an application
    std::vector<std::size_t> indices{};       ///< likewise: those of the operator, as SMT-LIB orders them
    std::vector<std::size_t> args{};          ///< likewise: nodes before this one

    bool operator==(const Node&) const = default;
  };
  std::vector<Node>
      nodes;  ///< leaves and applications in post-order, each occurrence by itself; the root is last

  const Node& root() const { return nodes.back(); }
  bool operator==(const SmallTerm&) const = default;
};

/// The bits that are all ones.
constexpr std::uint64_t all_ones(std::size_t width) {
  return width >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << width) - 1;
}

/// 0, 1 or all ones: what the rule language writes at every width.
constexpr bool is_special(std::uint64_t value, std::size_t width) {
  return value <= 1 || value == all_ones(width);
}

/// How many nodes a term has.
inline std::size_t size_of(const SmallTerm& t) {
  return t.nodes.size();
}
std::size_t num_operators(const SmallTerm& t);

/// A text that equal terms share, and no others: the order in which terms are dealt with goes by it.
std::string key_of(const SmallTerm& t);

}  // namespace quarv::cli
