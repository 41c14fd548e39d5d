#pragma once

#include <vector>

#include <quarv/rules/simplification_observer.h>
#include <quarv/simpl/std_term_simplifier.h>

namespace quarv {

struct Step;

/// Writes down what a simplifier and its rules do, for as long as it lives. Terms must not be made meanwhile:
/// what a simplifier was asked for is kept in parts until `finish`.
class StepRecorder : public SimplificationObserver {
 public:
  explicit StepRecorder(StdTermSimplifier& simplifier);
  ~StepRecorder() override;
  StepRecorder(const StepRecorder&) = delete;
  StepRecorder& operator=(const StepRecorder&) = delete;

  /// Appends the steps to `steps`.
  void finish(TermManager& manager, std::vector<Step>& steps);

  void on_rule(std::size_t rule, const Term* before, const Term* after) override;
  void on_simplification(const Symbol* op, TermManager::Args args, const Term* after) override;

 private:
  struct Event {
    std::size_t rule = 0;  // from 1
    const Symbol* op = nullptr;
    std::vector<const Term*> args;  // of `op`; of a rule: the term before
    const Term* after;
  };

  StdTermSimplifier& simplifier_;
  std::vector<Event> events_;
};

}  // namespace quarv
