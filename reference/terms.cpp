#include "reference/terms.h"

#include <algorithm>

namespace quarv::reference {

Value Column::value(std::size_t assignment) const {
  if (values.empty()) return {static_cast<unsigned long>(words[assignment]), nullptr};
  return values[assignment];
}

std::size_t first_difference(const Sort* sort, const Column& a, const Column& b) {
  std::size_t i = 0;
  while (i < a.size() &&
         (a.values.empty() ? a.words[i] == b.words[i] : equal(sort, a.values[i], b.values[i]))) {
    ++i;
  }
  return i;
}

namespace {

void append(Column& column, const Sort* sort, Value value) {
  if (sort->is_word()) {
    column.words.push_back(value.number.get_num().get_ui());
  } else {
    column.values.push_back(std::move(value));
  }
}

}  // namespace

const Column& Evaluation::operator[](std::size_t place) {
  while (columns_.size() <= place) columns_.push_back(computed(columns_.size()));
  return columns_[place];
}

Column Evaluation::computed(std::size_t place) {
  const Expression& e = expressions_[place];
  if (const auto given = given_.find(place); given != given_.end()) return std::move(given->second);
  if (e.kind == Expression::literal) return constant(e);
  if (e.kind != Expression::operation) return named(e);
  const bool on_words =
      e.op->on_words != nullptr && e.sort->is_word() &&
      std::ranges::all_of(e.args, [&](std::size_t arg) { return expressions_[arg].sort->is_word(); });
  return on_words ? computed_on_words(e) : computed_on_values(e);
}

Column Evaluation::constant(const Expression& e) const {
  if (e.sort->is_word()) {
    const std::uint64_t word = e.value.get_num().get_ui();
    return {std::vector<std::uint64_t>(num_assignments_, word), {}};
  }
  return {{}, std::vector<Value>(num_assignments_, Value{e.value, nullptr})};
}

/// Variables and functions, which depend on their names, their arguments and the interpretation.
Column Evaluation::named(const Expression& e) const {
  const std::uint64_t name = Hash().add(e.name).value();
  Column result;
  for (std::size_t i = 0; i < num_assignments_; ++i) {
    Hash hash;
    hash.add(name);
    for (const std::size_t arg : e.args) hash.add(columns_[arg].value(i).number);
    append(result, e.sort, Interpretation(seed_ + i).value(hash.value(), e.sort));
  }
  return result;
}

Column Evaluation::computed_on_words(const Expression& e) const {
  std::vector<Word> operands(e.args.size());
  std::vector<std::size_t> widths;
  for (const std::size_t arg : e.args) widths.push_back(expressions_[arg].sort->width);
  const Operands<Word> all{operands, widths, e.indices};
  Column result;
  result.words.resize(num_assignments_);
  for (std::size_t i = 0; i < num_assignments_; ++i) {
    for (std::size_t k = 0; k < operands.size(); ++k) operands[k] = columns_[e.args[k]].words[i];
    result.words[i] = static_cast<std::uint64_t>(e.op->on_words(all));
  }
  return result;
}

Column Evaluation::computed_on_values(const Expression& e) const {
  std::vector<const Sort*> sorts;
  for (const std::size_t arg : e.args) sorts.push_back(expressions_[arg].sort);
  std::vector<Value> words(e.args.size());
  std::vector<const Value*> args(e.args.size());
  Column result;
  for (std::size_t i = 0; i < num_assignments_; ++i) {
    for (std::size_t k = 0; k < args.size(); ++k) {
      const Column& column = columns_[e.args[k]];
      if (sorts[k]->is_word()) words[k] = column.value(i);
      args[k] = sorts[k]->is_word() ? &words[k] : &column.values[i];
    }
    const Interpretation model(seed_ + i);
    append(result, e.sort, (*e.op)(Call{*e.op, e.sort, e.indices, sorts, args, &model}));
  }
  return result;
}

std::vector<Column> all_assignments(std::span<const std::size_t> widths) {
  std::size_t total = 0;
  for (const std::size_t width : widths) total += width;
  std::vector<Column> result(widths.size());
  for (std::uint64_t code = 0; code < std::uint64_t{1} << total; ++code) {
    std::uint64_t rest = code;
    for (std::size_t i = 0; i < widths.size(); ++i) {
      result[i].words.push_back(rest & ((std::uint64_t{1} << widths[i]) - 1));
      rest >>= widths[i];
    }
  }
  return result;
}

}  // namespace quarv::reference
