#include <stdexcept>
#include <string>

#include <quarv/smtlib/composed.h>
#include <quarv/smtlib/read/application_error.h>
#include <quarv/smtlib/read/named_operators.h>

namespace quarv {

namespace {

void check_number(const std::string& message) {
  if (!message.empty()) throw SortError(message);
}

}  // namespace

const Term* ComposedOperator::operator()(TermManager& manager, Arguments args) const {
  return apply(manager, {}, args);
}

const Term* ComposedOperator::apply(TermManager& m, std::span<const std::size_t> indices,
                                    std::span<const Term* const> args) const {
  const smtlib::OperatorDefinition* op = found_.load(std::memory_order_relaxed);
  if (op == nullptr) {
    op = smtlib::find_operator(name_);
    if (op == nullptr) throw std::logic_error("no operator " + std::string(name_));
    found_.store(op, std::memory_order_relaxed);
  }
  check_number(smtlib::wrong_number_of_indices(op->name, indices.size(), op->num_indices));
  check_number(smtlib::wrong_number_of_arguments(op->name, args.size(), op->min_args, op->max_args));
  smtlib::check_given_arguments(m, op->name, args);
  smtlib::OperatorContext context(m);
  return smtlib::apply_operator(context, *op, indices, args);
}

}  // namespace quarv
