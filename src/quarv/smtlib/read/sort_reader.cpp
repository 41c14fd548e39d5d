#include <unordered_map>

#include <quarv/smtlib/read/reader.h>

namespace quarv::smtlib {

namespace {

/// The largest sort, counted as nodes of its tree, that can be written out. Definitions of sorts can make the
/// tree exponential in the text.
constexpr std::uint64_t max_sort_size = 100000;

}  // namespace

const DataType* Reader::read_sort() {
  return read_sort(next());
}

/// Sorts nest: those whose parentheses are open wait on a stack, with the arguments read so far.
const DataType* Reader::read_sort(const Token& first) {
  struct Open {
    Token name;
    std::size_t first_argument;
  };
  std::vector<Open> open;
  std::vector<const DataType*> arguments;
  Token t = first;
  for (;; t = next()) {
    const DataType* sort = nullptr;
    if (t.kind == TokenKind::left_parenthesis) {
      const Token name = expect_symbol("a sort");
      if (is_word(name, "_")) {
        sort = indexed_sort();
      } else {
        open.push_back({name, arguments.size()});
        continue;
      }
    } else if (t.kind == TokenKind::right_parenthesis && !open.empty()) {
      const Open closed = open.back();
      open.pop_back();
      const auto own = std::span<const DataType* const>(arguments).subspan(closed.first_argument);
      if (own.empty()) unexpected(t, "a sort");
      sort = sort_named(closed.name, own);
      arguments.resize(closed.first_argument);
    } else if (t.kind == TokenKind::symbol) {
      sort = sort_named(t, {});
    } else {
      unexpected(t, "a sort");
    }
    if (sort->tree_size() > max_sort_size) fail(t.start, "the sort is too large");
    if (open.empty()) return sort;
    arguments.push_back(sort);
  }
}

Reader::SortMeaning Reader::meaning_of_sort(std::string_view name) {
  const SortNames::Name* known = sorts_.find(name);
  if (known != nullptr && known->meaning.kind != SortMeaning::none) return known->meaning;
  if (options_.names != Options::Names::session) return {};
  const Session::DeclaredSort* declared = session_.declared_sort(name);
  return declared == nullptr ? SortMeaning{} : declared_sort(declared->sort, declared->num_parameters);
}

Reader::SortMeaning Reader::declared_sort(const DataType* sort, std::size_t num_parameters) noexcept {
  return {.kind = num_parameters == 0 ? SortMeaning::type : SortMeaning::constructor,
          .arity = static_cast<std::uint32_t>(num_parameters),
          .sort = sort,
          .declared = true};
}

const DataType* Reader::sort_named(const Token& name, std::span<const DataType* const> arguments) {
  const SortMeaning meaning = meaning_of_sort(name.text);
  if (meaning.kind == SortMeaning::foreign || meaning.kind == SortMeaning::none) {
    static constexpr std::string_view unsupported[] = {"String", "RegLan", "Seq",     "Set",
                                                       "Bag",    "Tuple",  "Relation"};
    for (std::string_view word : unsupported) {
      if (name.text == word) not_understood(name.start, "sorts " + std::string(word) + " are not supported");
    }
    not_understood(name.start, "unknown sort " + std::string(name.text));
  }
  if (meaning.arity != arguments.size()) {
    fail(name.start, "sort " + std::string(name.text) + " takes " + std::to_string(meaning.arity) +
                         " parameters, " + std::to_string(arguments.size()) + " given");
  }
  switch (meaning.kind) {
    case SortMeaning::constructor:
      if (meaning.sort == manager_.array_type_ctor)
        return manager_.get_array_type(arguments[0], arguments[1]);
      return manager_.apply_sort(meaning.sort, arguments);
    case SortMeaning::macro:
      return instantiate(meaning, arguments);
    default:
      return meaning.sort;
  }
}

/// After "(_": BitVec or FloatingPoint.
const DataType* Reader::indexed_sort() {
  const Token name = expect_symbol("a sort");
  const bool bit_vector = is_word(name, "BitVec");
  if (!bit_vector && !is_word(name, "FloatingPoint")) {
    not_understood(name.start, "unknown indexed sort " + std::string(name.text));
  }
  const std::size_t first = index_value(next());
  const std::size_t second = bit_vector ? 0 : index_value(next());
  expect_right("the indices of a sort");
  try {
    if (!bit_vector) {
      build::check_format(first, second);
      return manager_.get_fp_type(first, second - 1);
    }
    if (first > max_width) {
      fail(name.start, "bit-vectors of more than " + std::to_string(max_width) + " bits are not supported");
    }
    return manager_.get_bv_type(first);
  } catch (const SortError& e) {
    fail(name.start, e.what());
  }
}

/// A defined sort applied to its arguments. Each application is computed once.
const DataType* Reader::instantiate(const SortMeaning& macro, std::span<const DataType* const> arguments) {
  if (arguments.empty()) return macro.sort;
  std::vector<const DataType*> application{macro.parameters->front()};  // no other macro has this stand-in
  application.insert(application.end(), arguments.begin(), arguments.end());
  const DataType*& sort = instances_[application];
  if (sort == nullptr) sort = substituted(macro, arguments);
  return sort;
}

/// The body of a defined sort with its stand-ins replaced by the arguments; each distinct part once.
const DataType* Reader::substituted(const SortMeaning& macro, std::span<const DataType* const> arguments) {
  std::unordered_map<const DataType*, const DataType*> result;
  for (std::size_t i = 0; i < arguments.size(); ++i) result[(*macro.parameters)[i]] = arguments[i];
  std::vector<const DataType*> pending{macro.sort};
  while (!pending.empty()) {
    const DataType* type = pending.back();
    if (result.contains(type)) {
      pending.pop_back();
      continue;
    }
    if (!type->is_constructed()) {
      result[type] = type;
      continue;
    }
    const std::size_t before = pending.size();
    std::vector<const DataType*> parts;
    for (const DataType* part : std::span(type->components).subspan(1)) {
      const auto known = result.find(part);
      if (known == result.end()) {
        pending.push_back(part);
      } else {
        parts.push_back(known->second);
      }
    }
    if (pending.size() == before) result[type] = manager_.apply_sort(type->components[0], parts);
  }
  return result[macro.sort];
}

}  // namespace quarv::smtlib
