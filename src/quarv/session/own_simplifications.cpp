#include <algorithm>
#include <stdexcept>
#include <string>

#include <quarv/session/own_simplifications.h>
#include <quarv/term/term_manager.h>
#include <quarv/util/nested.h>

namespace quarv {

namespace {

/// What a function builds is simplified in turn. A large term may take many such steps one within the other;
/// then the innermost is left to the others.
constexpr int most_nested = 200;

}  // namespace

void OwnSimplifications::add(SymbolTag::tag tag, Function f, When when) {
  if (tag >= SymbolTag::count) throw std::invalid_argument("there is no such operator");
  add(Entry{tag, nullptr, when, std::move(f)});
}

void OwnSimplifications::add(const Symbol* symbol, Function f, When when) {
  if (symbol == nullptr) throw std::invalid_argument("the symbol is a null pointer");
  add(Entry{symbol->get_output_type()->manager().get_tag(symbol), symbol, when, std::move(f)});
}

void OwnSimplifications::add(Entry entry) {
  if (!entry.function) throw std::invalid_argument("the simplification is no function");
  auto& places = (entry.when == When::before ? before_ : after_)[entry.tag];
  const bool for_tag = entry.symbol == nullptr;
  functions_.push_back(std::move(entry));
  const auto at =
      for_tag ? std::ranges::find_if(places, [&](std::uint32_t i) { return functions_[i].symbol != nullptr; })
              : places.end();
  places.insert(at, static_cast<std::uint32_t>(functions_.size() - 1));
}

void OwnSimplifications::resize(std::size_t n) {
  for (Places* all : {&before_, &after_}) {
    for (auto& places : *all) std::erase_if(places, [n](std::uint32_t i) { return i >= n; });
  }
  while (functions_.size() > n) functions_.pop_back();
}

const Term* OwnSimplifications::tried(const std::vector<std::uint32_t>& places, TermManager& m,
                                      const Symbol* symbol, Args args) {
  for (const std::uint32_t i : places) {
    const Entry& e = functions_[i];
    if (e.symbol != nullptr && e.symbol != symbol) continue;
    const Term* result = e.function(m, symbol, args);
    if (result == nullptr) continue;
    const DataType* wanted = symbol->get_output_type();
    if (m.get_supertype(wanted, m.type_of(result)) != wanted) {
      throw SortError(std::string(symbol->name) +
                      ": a simplification of one's own has returned a term of sort " +
                      m.type_of(result)->abbreviated() + ", expected " + wanted->abbreviated());
    }
    const bool is_itself = result->symbol == symbol && std::ranges::equal(args, m.args_of(result));
    if (is_itself) continue;
    if (SimplificationObserver* observer = observed_.normalizer.observer()) {
      observer->on_simplification(symbol, args, result);
    }
    return result;
  }
  return nullptr;
}

const Term* OwnSimplifications::simplify(TermManager* manager, const Symbol* symbol,
                                         const std::vector<const Term*>& args) {
  const SymbolTag::tag tag = manager->get_tag(symbol);
  const auto& before = before_[tag];
  const auto& after = after_[tag];
  if ((before.empty() && after.empty()) || depth_ == most_nested) {
    return others_->simplify(manager, symbol, args);
  }
  const Nested nested(depth_);
  if (const Term* result = tried(before, *manager, symbol, args)) return result;
  const Term* rest = others_->simplify(manager, symbol, args);
  if (rest->symbol != symbol) return rest;
  const Term* result = tried(after, *manager, symbol, manager->args_of(rest));
  return result == nullptr ? rest : result;
}

}  // namespace quarv
