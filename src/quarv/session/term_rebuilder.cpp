#include <quarv/session/term_rebuilder.h>
#include <quarv/util/checkpoint.h>

namespace quarv {

const Term* TermRebuilder::operator()(const Term* root) {
  done_.follow(manager_);
  pending_.assign(1, root);
  while (!pending_.empty()) {
    Checkpoint::pass();
    const Term* t = pending_.back();
    if (done_[t] != nullptr) {
      pending_.pop_back();
      continue;
    }
    const std::size_t before = pending_.size();
    const TermManager::Args args = manager_.args_of(t);
    // The first argument is to be built first: it stands on top.
    for (std::size_t i = args.size(); i-- > 0;) {
      if (done_[args[i]] == nullptr) pending_.push_back(args[i]);
    }
    if (pending_.size() != before) continue;
    pending_.pop_back();
    const Term* form = rebuilt(t);
    done_[t] = form;
    done_.note(t, form);
  }
  return done_[root];
}

const Term* TermRebuilder::rebuilt(const Term* t) {
  const TermManager::Args args = manager_.args_of(t);
  const std::size_t end = parts_ == Parts::all ? args.size() : manager_.rewritable_args(t->symbol);
  args_.clear();
  for (std::size_t i = 0; i < args.size(); ++i) args_.push_back(i < end ? done_[args[i]] : args[i]);
  return make_(t->symbol, args_);
}

}  // namespace quarv
