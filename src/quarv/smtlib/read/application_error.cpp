#include <quarv/smtlib/read/application_error.h>
#include <quarv/smtlib/read/operators.h>

namespace quarv::smtlib {

namespace {

using Args = OperatorDefinition::Args;
using Part = ApplicationError::Part;

std::string wrong_number(std::string_view name, std::size_t given, std::string_view what,
                         const std::string& expected) {
  return std::string(name) + ": " + std::to_string(given) + ' ' + std::string(what) + " given, " + expected +
         " expected";
}

ApplicationError wrong_sort(std::string_view name, std::size_t position, const DataType* found,
                            const std::string& expected) {
  return {Part::argument, position,
          std::string(name) + ": argument " + std::to_string(position) + " has sort " + found->abbreviated() +
              ", expected " + expected};
}

bool fits(const TermManager& m, const DataType* found, const DataType* wanted) noexcept {
  return m.get_supertype(found, wanted) == wanted;
}

/// What an operator's text of sorts says about its arguments, from the first to the last.
class SortChecker {
 public:
  explicit SortChecker(const TermManager& m) : m_(m) {}

  /// The sort that an argument should have had by the letter; empty when it has.
  std::string expected(char letter, const DataType* found) {
    switch (letter) {
      case 'B':
        return unless(found == m_.bool_type, "Bool");
      case 'I':
        return unless(found == m_.int_type, "Int");
      case 'N':
        return unless(m_.is_arithmetic_type(found), "Int or Real");
      case 'R':
        return unless(found == m_.rounding_mode_type, "RoundingMode");
      case 'b':
        return unless(m_.is_bv_type(found) && m_.get_width_from_type(found) == 1, "(_ BitVec 1)");
      case 'v':
        return unless(m_.is_bv_type(found), "a bit-vector");
      case 'V':
        return as_first(found, m_.is_bv_type(found), "a bit-vector");
      case 'F':
        return as_first(found, m_.is_fp_type(found), "a floating-point number");
      case 'S':
        return common(found);
      case 'A':
        first_ = found;
        return unless(m_.is_array_type(found), "an array");
      case 'K':
        return part(1, found);
      case 'E':
        return part(2, found);
      default:  // 'X'
        return unless(m_.is_fp_type(found) || m_.is_bv_type(found) || m_.is_arithmetic_type(found),
                      "a floating-point number, a bit-vector, Int or Real");
    }
  }

 private:
  static std::string unless(bool good, const char* wanted) { return good ? "" : wanted; }

  /// Of a kind, and of the same sort as those of this kind before.
  std::string as_first(const DataType* found, bool of_kind, const char* kind) {
    if (first_ != nullptr) return unless(found == first_, first_->abbreviated().c_str());
    if (of_kind) first_ = found;
    return unless(of_kind, kind);
  }

  /// Of one sort with those before; an Int goes with a Real.
  std::string common(const DataType* found) {
    const DataType* both = first_ == nullptr ? found : m_.get_supertype(first_, found);
    if (both == nullptr) return first_->abbreviated();
    first_ = both;
    return {};
  }

  std::string part(std::size_t component, const DataType* found) const {
    const DataType* wanted = first_->get_component(component);
    return fits(m_, found, wanted) ? std::string() : wanted->abbreviated();
  }

  const TermManager& m_;
  const DataType* first_ = nullptr;
};

/// The first argument, counted without indices, whose sort is not one that the operator takes there.
std::optional<ApplicationError> wrong_argument(const TermManager& manager, const OperatorDefinition& op,
                                               Args args) {
  // The one operator whose first argument may be left out, to_fp, checks a single argument by itself.
  if (args.size() < op.sorts.size() && op.max_args == op.sorts.size()) return std::nullopt;
  SortChecker checker(manager);
  for (std::size_t i = 0; i < args.size(); ++i) {
    const char letter = i < op.sorts.size() ? op.sorts[i] : op.sorts.back();
    const DataType* found = manager.type_of(args[i]);
    const std::string expected = checker.expected(letter, found);
    if (!expected.empty()) return wrong_sort(op.name, i + 1, found, expected);
  }
  return std::nullopt;
}

}  // namespace

void build::bad_index(std::size_t position, const std::string& message) {
  throw ApplicationError(Part::index, position, message);
}

std::string wrong_number_of_arguments(std::string_view name, std::size_t given, std::size_t least,
                                      std::size_t most) {
  if (given >= least && given <= most) return {};
  const char* bound = least == most ? "" : given < least ? "at least " : "at most ";
  return wrong_number(name, given, given == 1 ? "argument" : "arguments",
                      bound + std::to_string(given < least ? least : most));
}

void check_given_arguments(const TermManager& m, std::string_view name, std::span<const Term* const> args) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const bool is_null = args[i] == nullptr;
    if (!is_null && &m.type_of(args[i])->manager() == &m) continue;
    throw ApplicationError(ApplicationError::Part::argument, i + 1,
                           std::string(name) + ": argument " + std::to_string(i + 1) +
                               (is_null ? " is a null pointer" : " belongs to another manager"));
  }
}

std::string wrong_number_of_indices(std::string_view name, std::size_t given, std::size_t expected) {
  if (given == expected) return {};
  return wrong_number(name, given, given == 1 ? "index" : "indices", std::to_string(expected));
}

std::optional<ApplicationError> wrong_argument(const TermManager& manager, std::string_view name,
                                               const Symbol* function, Args args) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const DataType* found = manager.type_of(args[i]);
    const DataType* wanted = manager.argument_type(function, i);
    if (!fits(manager, found, wanted)) return wrong_sort(name, i + 1, found, wanted->abbreviated());
  }
  return std::nullopt;
}

ApplicationError explained(const OperatorContext& c, const OperatorDefinition& op, Args args,
                           const SortError& error) {
  if (auto wrong = wrong_argument(c.manager, op, args.subspan(op.index_is_argument ? 1 : 0))) return *wrong;
  const std::string text = std::string(op.name) + ": " + error.what();
  const auto* placed = dynamic_cast<const ApplicationError*>(&error);
  return placed == nullptr ? ApplicationError(Part::operation, 0, text)
                           : ApplicationError(placed->part(), placed->position(), text);
}

}  // namespace quarv::smtlib
