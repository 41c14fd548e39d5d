#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <unordered_map>

#include <quarv/smtlib/read/named_operators.h>

namespace quarv::smtlib {

namespace {

constexpr std::string_view blanks = " \t\r\n";

/// Throws what `wrong_number_of_...` says.
void check_number(const std::string& message) {
  if (!message.empty()) throw std::invalid_argument(message);
}

std::size_t index_value(const OperatorDefinition& op, const std::string& text) {
  std::size_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw std::invalid_argument(std::string(op.name) + ": the index " + text +
                                " is not a numeral of at most 64 bits");
  }
  return value;
}

}  // namespace

const OperatorDefinition* find_operator(std::string_view name) {
  static const auto table = [] {
    std::unordered_map<std::string_view, const OperatorDefinition*> by_name;
    for (const auto& operators : all_operators()) {
      for (const OperatorDefinition& op : operators) by_name.emplace(op.name, &op);
    }
    for (const SolverWord& w : solver_words()) by_name.emplace(w.word, by_name.at(w.standard));
    return by_name;
  }();
  const auto found = table.find(name);
  return found == table.end() ? nullptr : found->second;
}

OperatorText split_operator(std::string_view text) {
  const bool indexed = text.starts_with('(') && text.ends_with(')');
  OperatorText result;
  if (!indexed) {
    result.name = text;
    return result;
  }
  std::vector<std::string> words;
  const std::string_view inside = text.substr(1, text.size() - 2);
  for (std::size_t at = inside.find_first_not_of(blanks); at != std::string_view::npos;) {
    const std::size_t end = std::min(inside.find_first_of(blanks, at), inside.size());
    words.emplace_back(inside.substr(at, end - at));
    at = inside.find_first_not_of(blanks, end);
  }
  if (words.size() < 3 || words[0] != "_") {
    throw std::invalid_argument("not an operator: " + std::string(text));
  }
  result.name = words[1];
  result.indices.assign(words.begin() + 2, words.end());
  return result;
}

bool is_operator(std::string_view name) {
  return find_operator(name) != nullptr;
}

const Term* apply_operator(OperatorContext& context, const OperatorText& text,
                           OperatorDefinition::Args args) {
  const OperatorDefinition* op = find_operator(text.name);
  if (op == nullptr) throw std::invalid_argument("unknown operator " + text.name);
  check_number(wrong_number_of_indices(op->name, text.indices.size(), op->num_indices));
  check_number(wrong_number_of_arguments(op->name, args.size(), op->min_args, op->max_args));
  std::vector<std::size_t> indices;
  std::vector<const Term*> all;
  if (op->index_is_argument) {
    index_value(*op, text.indices[0]);
    all.push_back(context.manager.make_number(QNumber::parse(text.indices[0])));
  } else {
    for (const std::string& index : text.indices) indices.push_back(index_value(*op, index));
  }
  all.insert(all.end(), args.begin(), args.end());
  return apply_operator(context, *op, indices, all);
}

const Term* apply_operator(OperatorContext& context, const OperatorDefinition& op,
                           std::span<const std::size_t> indices, OperatorDefinition::Args args) {
  context.indices = indices;
  try {
    const Term* result = op.build(context, args);
    context.indices = {};
    return result;
  } catch (const SortError& e) {
    throw explained(context, op, args, e);
  }
}

}  // namespace quarv::smtlib
