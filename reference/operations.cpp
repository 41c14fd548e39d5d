#include "reference/operations.h"

#include <stdexcept>
#include <unordered_map>
#include <vector>

namespace quarv::reference {

const Operation* find_operation(std::string_view name) {
  static const auto table = [] {
    std::unordered_map<std::string_view, const Operation*> result;
    for (const auto operations :
         {core_operations(), arithmetic_operations(), bit_vector_operations(), float_operations()}) {
      for (const Operation& op : operations) result.emplace(op.name, &op);
    }
    return result;
  }();
  const auto found = table.find(name);
  return found != table.end() ? found->second : nullptr;
}

const Operation& operation_named(std::string_view name) {
  const Operation* const op = find_operation(name);
  if (op == nullptr) throw std::out_of_range("no operator " + std::string(name));
  return *op;
}

Value Operation::operator()(const Call& call) const {
  if (on_values != nullptr) return on_values(call);
  std::vector<mpz_class> values;
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < call.count(); ++i) {
    values.push_back(call.integer(i));
    widths.push_back(call.width(i));
  }
  return {on_integers({values, widths, call.indices}), nullptr};
}

Random Call::open(std::size_t num_args) const {
  if (model == nullptr) throw OpenValue();
  Hash hash;
  hash.add(op.name);
  for (const std::size_t i : indices) hash.add(i);
  for (std::size_t i = 0; i < num_args; ++i) hash.add(number(i));
  // Operands of different formats or widths may have the same encoding.
  for (const Sort* s : sorts) hash.add(s->hash);
  return model->random(hash.value());
}

}  // namespace quarv::reference
