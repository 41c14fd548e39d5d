#include <quarv/session/session.h>
#include <quarv/session/step_recorder.h>

namespace quarv {

StepRecorder::StepRecorder(StdTermSimplifier& simplifier) : simplifier_(simplifier) {
  simplifier_.set_observer(this);
  simplifier_.normalizer.clear_cache();  // what is known already would not be told
}

StepRecorder::~StepRecorder() {
  simplifier_.set_observer(nullptr);
}

void StepRecorder::on_rule(std::size_t rule, const Term* before, const Term* after) {
  events_.push_back({rule + 1, nullptr, {before}, after});
}

void StepRecorder::on_simplification(const Symbol* op, TermManager::Args args, const Term* after) {
  events_.push_back({0, op, {args.begin(), args.end()}, after});
}

void StepRecorder::finish(TermManager& manager, std::vector<Step>& steps) {
  simplifier_.set_observer(nullptr);
  for (const Event& e : events_) {
    if (e.rule != 0) {
      TermNormalizer::norm_fun& rule = simplifier_.normalizer.get_rule(e.rule - 1);
      steps.push_back({e.rule, rule.get_signature(), e.args[0], e.after, std::string(rule.get_name())});
    } else {
      const SymbolTag::tag tag = manager.get_tag(e.op);
      const char* name = tag == SymbolTag::UF ? e.op->name : SymbolTag::name(tag);
      steps.push_back({0, name, manager.do_make_term(e.op, e.args), e.after, {}});
    }
  }
}

}  // namespace quarv
