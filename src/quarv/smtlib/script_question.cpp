#include <algorithm>
#include <unordered_map>
#include <utility>

#include <quarv/smtlib/script_question.h>

namespace quarv::smtlib {

using forms::ClassId;
using forms::FormId;
using forms::HeadId;
using Kind = Command::Kind;

namespace {

/// Whether the command has terms whose forms are chosen. Names that are only declared are none.
bool has_roots(const Script& script, const Command& c) {
  if (c.kind == Kind::declare) return false;
  for (std::uint32_t i = 0; i < c.num_terms; ++i) {
    if (script.text_of(c, i).empty()) return true;
  }
  return false;
}

/// Where each declared symbol is visible: after `first`, up to `last`. Commands are counted from 1. A
/// definition is visible after its command. For a declaration it is the last command before it that needs
/// terms, if any, and up to the next one that does once its level is closed: where nothing needs a term it
/// does not matter what is declared first.
std::unordered_map<const Symbol*, std::pair<std::uint32_t, std::uint32_t>> visibility(
    const WrittenForms& written, const Script& script) {
  constexpr std::uint32_t always = 0xFFFFFFFF;
  const auto n = static_cast<std::uint32_t>(script.commands.size());
  std::vector<std::uint32_t> visible_after(n), closed_by(n, always);
  std::vector<std::vector<std::uint32_t>> levels(1);
  std::vector<std::uint32_t> closed;  // since the last command that needs terms
  const auto close = [&] {
    closed.insert(closed.end(), levels.back().begin(), levels.back().end());
    levels.pop_back();
  };
  std::uint32_t last_root = 0;
  for (std::uint32_t i = 0; i < n; ++i) {
    const Command& c = script.commands[i];
    visible_after[i] = c.kind == Kind::declare ? last_root : i + 1;
    if (has_roots(script, c)) {
      for (std::uint32_t earlier : closed) closed_by[earlier] = i;
      closed.clear();
      last_root = i + 1;
    }
    levels.back().push_back(i);
    if (c.kind == Kind::push) levels.resize(levels.size() + c.levels);
    if (c.kind == Kind::pop) {
      for (std::uint32_t k = 0; k < c.levels && levels.size() > 1; ++k) close();
    }
    if (c.kind == Kind::reset || c.kind == Kind::reset_assertions) {
      while (!levels.empty()) close();
      levels.emplace_back();
    }
  }
  std::unordered_map<const Symbol*, std::pair<std::uint32_t, std::uint32_t>> visible;
  for (const auto& [symbol, command] : written.declarations()) {
    visible[symbol] = command < n ? std::pair(visible_after[command], closed_by[command])
                                  : std::pair(std::uint32_t{0}, always);
  }
  return visible;
}

}  // namespace

ScriptQuestion::ScriptQuestion(const TermManager& manager, WrittenForms& written, const Script& script,
                               FormId num_written)
    : written_(written), graph_(written.graph()), num_written_(num_written) {
  add_roots(script);
  add_base(written.normal());
  add_literals();
  add_scopes(manager, script);
}

forms::Question ScriptQuestion::question() const {
  forms::Question question{graph_,    roots_,         declared_, base_,
                           is_value_, makes_literal_, scopes_,   num_written_};
  if (has_scopes_) question.root_commands = root_commands_;
  return question;
}

void ScriptQuestion::add_roots(const Script& script) {
  for (std::uint32_t c = 0; c < script.commands.size(); ++c) {
    for (std::uint32_t i = 0; i < script.commands[c].num_terms; ++i) {
      if (!script.text_of(script.commands[c], i).empty()) continue;
      const ClassId root = script.forms[script.commands[c].first_term + i];
      if (script.commands[c].kind == Kind::declare) {
        declared_.push_back(root);
        continue;
      }
      roots_.push_back(root);
      root_commands_.push_back(c + 1);
    }
  }
}

void ScriptQuestion::add_base(const NormalForms& normal) {
  base_.assign(graph_.num_classes(), forms::none);
  for (ClassId c = 0; c < graph_.num_classes(); ++c) {
    FormId& b = base_[graph_.find(c)];
    if (b == forms::none) b = normal.base(c);
  }
  is_value_.resize(graph_.num_classes());
  for (ClassId c : normal.values()) is_value_[graph_.find(c)] = 1;
}

void ScriptQuestion::add_literals() {
  makes_literal_.resize(graph_.num_heads());
  for (HeadId h = 0; h < graph_.num_heads(); ++h) {
    const std::string_view text = graph_.head_at(h).text;
    makes_literal_[h] = text == "fp" ? 3 : text.starts_with("(_ to_fp ") ? 1 : 0;
  }
}

/// Bound variables have a bit each, the last of which stands for all further ones; declared symbols are
/// visible in a range of commands.
void ScriptQuestion::add_scopes(const TermManager& manager, const Script& script) {
  const auto visible = visibility(written_, script);
  std::unordered_map<const Symbol*, std::uint64_t> bits;
  const auto bit_of = [&](const Symbol* s) {
    std::uint64_t& bit = bits[s];
    if (bit == 0) bit = std::uint64_t{1} << std::min<std::size_t>(bits.size() - 1, 63);
    return bit;
  };
  scopes_ = forms::Scopes(graph_.num_heads());
  for (HeadId h = 0; h < graph_.num_heads(); ++h) {
    const Symbol* const s = graph_.head_at(h).symbol;
    if (s == nullptr) continue;
    forms::Scope& scope = scopes_.add(h);
    if (manager.is_bound_variable(s)) {
      scope.variables = bit_of(written_.same_place(s));
    } else if (manager.is_quantifier(s)) {
      for (const Term* v : manager.quantifier_variables(s)) scope.binds |= bit_of(v->symbol);
      scope.binds &= ~forms::overflow_variable;
    } else if (const auto known = visible.find(s); known != visible.end()) {
      scope.first = known->second.first;
      scope.last = known->second.second;
      scope.is_definition = written_.is_defined(s);
      has_scopes_ = has_scopes_ || scope.first != 0 || scope.last != forms::Scope().last;
    }
  }
}

}  // namespace quarv::smtlib
