#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <quarv/export.h>
#include <quarv/term/sort_error.h>
#include <quarv/term/term_manager.h>

namespace quarv::smtlib {

struct OperatorDefinition;
struct OperatorContext;

/// Thrown for an application that does not fit its operator. Says which part is wrong, for those who know
/// where that was written. The message begins with the operator's name as it was written.
class QUARV_API ApplicationError : public SortError {
 public:
  enum class Part : std::uint8_t { operation, index, argument };

  ApplicationError(Part part, std::size_t position, const std::string& message)
      : SortError(message), part_(part), position_(position) {}

  Part part() const noexcept { return part_; }
  /// Which index or argument, from 1.
  std::size_t position() const noexcept { return position_; }

 private:
  Part part_;
  std::size_t position_;
};

/// "bvadd: 1 argument given, at least 2 expected" when the number is not within the bounds, else empty.
std::string wrong_number_of_arguments(std::string_view name, std::size_t given, std::size_t least,
                                      std::size_t most);
/// "extract: 1 index given, 2 expected" when the number is not the expected one, else empty.
std::string wrong_number_of_indices(std::string_view name, std::size_t given, std::size_t expected);

/// Sees to it that arguments are the manager's. \throws ApplicationError for a null pointer and for a term of
/// another manager
void check_given_arguments(const TermManager& manager, std::string_view name,
                           std::span<const Term* const> args);

/// The first argument whose sort is not one that the function takes there; none when all fit. `name` is for
/// the message.
std::optional<ApplicationError> wrong_argument(const TermManager& manager, std::string_view name,
                                               const Symbol* function, std::span<const Term* const> args);

/// What a builder or a constructor has refused, in the words of the operator as it was written: derived
/// operators are made of others, whose names and arguments their user has never seen.
ApplicationError explained(const OperatorContext& context, const OperatorDefinition& op,
                           std::span<const Term* const> args, const SortError& error);

}  // namespace quarv::smtlib
