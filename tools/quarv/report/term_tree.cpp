#include "report/term_tree.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>

#include <fmt/core.h>

#include <quarv/session/session.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/text.h>
#include <quarv/term/walk.h>

namespace quarv::cli {

namespace {

constexpr double largest_size = 1e15;          // more is not told apart
constexpr std::size_t most_counted = 5000000;  // to count what is distinct

class TreeMaker {
 public:
  TreeMaker(Session& session, TermTree& tree) : session_(session), m_(session.manager()), tree_(tree) {}

  void add(const Term* formula) {
    std::vector<std::size_t> written;
    add_rows(formula, &written);
    // What a part becomes by itself. Simplifying remembers what it has done.
    for (const std::size_t i : written) {
      const Term* became = session_.simplify(terms_[i]);
      add_rows(became, nullptr);
      became_[i] = rows_.at(became);
    }
    tree_.formulas.push_back(
        {rows_.at(formula), distinct(formula), distinct(terms_[became_[rows_.at(formula)]])});
  }

  void finish() {
    std::string part;
    for (std::size_t i = 0; i < terms_.size(); ++i) {
      part += part.empty() ? '[' : ',';
      append_row(i, part);
      if ((i + 1) % TermTree::rows_in_part != 0 && i + 1 != terms_.size()) continue;
      tree_.parts.push_back(std::move(part) + ']');
      part.clear();
    }
  }

 private:
  /// Gives numbers to what has none yet, arguments first.
  void add_rows(const Term* root, std::vector<std::size_t>* made) {
    std::vector<const Term*> pending{root};
    while (!pending.empty()) {
      const Term* t = pending.back();
      const std::size_t open = pending.size();
      if (!rows_.contains(t)) {
        std::ranges::copy_if(m_.args_of(t), std::back_inserter(pending),
                             [this](const Term* a) { return !rows_.contains(a); });
      }
      if (pending.size() != open) continue;
      pending.pop_back();
      if (!rows_.try_emplace(t, terms_.size()).second) continue;
      if (made != nullptr) made->push_back(terms_.size());
      double size = 1;
      for (const Term* a : m_.args_of(t)) size += sizes_[rows_.at(a)];
      became_.push_back(terms_.size());
      terms_.push_back(t);
      sizes_.push_back(std::min(size, largest_size));
    }
  }

  std::size_t head(const Term* t) {
    const auto [entry, is_new] =
        heads_.try_emplace(m_.arity(t) == 0 ? to_string(t) : to_string(t->symbol), tree_.heads.size());
    if (is_new) tree_.heads.push_back(entry->first);
    return entry->second;
  }

  void append_row(std::size_t i, std::string& out) {
    out += fmt::format("[{},{:.0f},{}", head(terms_[i]), sizes_[i], became_[i]);
    for (const Term* a : m_.args_of(terms_[i])) out += fmt::format(",{}", rows_.at(a));
    out += ']';
  }

  /// Once there was too much to count, none at all.
  std::size_t distinct(const Term* t) {
    if (visits_ > most_counted) return 0;
    std::size_t count = 0;
    visit_post_order(m_, t, [&count](const Term*) { ++count; });
    visits_ += count;
    return count;
  }

  Session& session_;
  TermManager& m_;
  TermTree& tree_;
  std::unordered_map<const Term*, std::size_t> rows_;
  std::vector<const Term*> terms_;  // of the rows
  std::vector<double> sizes_;
  std::vector<std::size_t> became_;
  std::unordered_map<std::string, std::size_t> heads_;
  std::size_t visits_ = 0;
};

}  // namespace

TermTree make_term_tree(std::string_view text, const std::string& name, smtlib::SimplifyOptions options) {
  options.eager = false;
  Session session(options);
  smtlib::Reader reader(session);
  const smtlib::Script script = reader.read_in_place(text, name);
  TermTree tree;
  TreeMaker maker(session, tree);
  for (const smtlib::Command& command : script.commands) {
    for (const Term* formula : script.formulas_of(command)) maker.add(formula);
  }
  maker.finish();
  return tree;
}

}  // namespace quarv::cli
