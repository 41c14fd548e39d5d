#include <cstdint>
#include <vector>

#include <quarv/forms/needs.h>

namespace quarv::forms {

namespace {

constexpr std::uint32_t never = 0xFFFFFFFF;

/// Enters a command for all that a root needs and no earlier one has needed.
class Visitor {
 public:
  Visitor(const Question& q, const std::function<void(ClassId, std::vector<FormId>&)>& forms_of)
      : q_(q), forms_of_(forms_of) {}

  void visit(std::size_t root, LargeVector<std::uint32_t>& commands) {
    const std::uint32_t command = q_.root_commands[root];
    enter(q_.roots[root], command, commands);
    while (!pending_.empty()) {
      const ClassId c = pending_.back();
      pending_.pop_back();
      forms_.clear();
      forms_of_(c, forms_);
      for (FormId f : forms_) {
        for (ClassId child : q_.graph.children(q_.graph.form(f))) enter(child, command, commands);
      }
    }
  }

 private:
  void enter(ClassId c, std::uint32_t command, LargeVector<std::uint32_t>& commands) {
    c = q_.graph.find(c);
    if (commands[c] != never) return;
    commands[c] = command;
    pending_.push_back(c);
  }

  const Question& q_;
  const std::function<void(ClassId, std::vector<FormId>&)>& forms_of_;
  std::vector<ClassId> pending_;
  std::vector<FormId> forms_;
};

}  // namespace

Needs needs_of(const Question& q, const std::function<void(ClassId, std::vector<FormId>&)>& forms_of) {
  Needs needs;
  needs.first.assign(q.graph.num_classes(), never);
  needs.last.assign(q.graph.num_classes(), never);
  Visitor visitor(q, forms_of);
  for (std::size_t i = 0; i < q.roots.size(); ++i) visitor.visit(i, needs.first);
  for (std::size_t i = q.roots.size(); i-- > 0;) visitor.visit(i, needs.last);
  return needs;
}

Needs all_needs(const Question& q) {
  return needs_of(q, [&q](ClassId c, std::vector<FormId>& forms) {
    for (FormId f = q.graph.first_form(c); f != none; f = q.graph.form(f).next) forms.push_back(f);
  });
}

Needs likely_needs(const Question& q) {
  return needs_of(q, [&q](ClassId c, std::vector<FormId>& forms) {
    FormId likely = none;
    for (FormId f = q.graph.first_form(c); f != none; f = q.graph.form(f).next) {
      if (f < q.num_written && f < likely) likely = f;
    }
    if (likely == none) likely = q.base[c] != none ? q.base[c] : q.graph.first_form(c);
    if (likely != none) forms.push_back(likely);
  });
}

bool stays_in_scope(const Question& q, std::span<const FormId> chosen) {
  const Needs needs = needs_of(q, [&](ClassId c, std::vector<FormId>& forms) {
    if (chosen[c] != none) forms.push_back(chosen[c]);
  });
  for (ClassId c = 0; c < chosen.size(); ++c) {
    if (chosen[c] == none || needs.first[c] == never) continue;
    const Scope& scope = q.scopes[q.graph.form(chosen[c]).head];
    // A recursive function is visible in its own definition, where its applications stay as they are.
    const bool is_own = scope.is_definition && chosen[c] == q.base[c];
    const std::uint32_t first = is_own ? scope.first : scope.first + 1;
    if (needs.first[c] < first || needs.last[c] > scope.last) return false;
  }
  return true;
}

}  // namespace quarv::forms
