#include <gmpxx.h>

#include <quarv/rules/queries/solver_text.h>

namespace quarv::rules {

namespace {

using Texts = std::vector<std::string>;

std::string list(const std::string& head, const Texts& arguments) {
  std::string text = '(' + head;
  for (const std::string& a : arguments) text += ' ' + a;
  return text + ')';
}

std::string bit_vector(std::uint64_t value, std::size_t width) {
  return "(_ bv" + std::to_string(value) + ' ' + std::to_string(width) + ')';
}

/// Only equal numbers are congruent modulo 0.
std::string congruence(std::uint64_t modulus, const Texts& arguments) {
  if (modulus == 0) return list("=", arguments);
  return list("=", {"0", list("mod", {list("-", arguments), std::to_string(modulus)})});
}

/// The natural number less 2^width where the sign is set.
std::string signed_value(const std::string& argument, std::size_t width) {
  const mpz_class modulus = mpz_class(1) << width;
  const std::string negative = list("-", {"(bv2nat word.)", modulus.get_str()});
  const std::string choice =
      list("ite", {list("bvslt", {"word.", bit_vector(0, width)}), negative, "(bv2nat word.)"});
  return "(let ((word. " + argument + ")) " + choice + ')';
}

/// By two shifts; one by as many bits as there are leaves nothing.
std::string rotation(bool left, const Texts& arguments, std::size_t width) {
  const std::string bits = bit_vector(width, width);
  const char* const there = left ? "bvshl" : "bvlshr";
  const char* const back = left ? "bvlshr" : "bvshl";
  const std::string moved = list(there, {"word.", "amount."});
  const std::string rest = list(back, {"word.", list("bvsub", {bits, "amount."})});
  return "(let ((word. " + arguments[0] + ") (amount. " + list("bvurem", {arguments[1], bits}) + ")) " +
         list("bvor", {moved, rest}) + ')';
}

}  // namespace

std::string solver_text(const OperatorWord& op, const std::vector<std::uint64_t>& parameters,
                        const std::vector<std::string>& arguments, std::size_t width,
                        const std::string& sort) {
  if (op.tag == SymbolTag::INT_MOD_CONGR) return congruence(parameters[0], arguments);
  if (op.tag == SymbolTag::INT_FROM_SBV) return signed_value(arguments[0], width);
  if (op.smtlib.starts_with("ext_rotate_")) return rotation(op.smtlib.ends_with("left"), arguments, width);
  if (op.tag == SymbolTag::ARRAY_CONST) return list("(as const " + sort + ')', arguments);
  std::string head(op.smtlib);
  if (!parameters.empty()) {
    head.insert(0, "(_ ");
    for (const std::uint64_t p : parameters) head += ' ' + std::to_string(p);
    head += ')';
  }
  return list(head, arguments);
}

}  // namespace quarv::rules
