#include <cstdint>
#include <numeric>

#include <quarv/forms/grounded.h>

namespace quarv::forms {

namespace {

/// Grants classes their wanted form as soon as all parts of it are granted one. Where that comes to a halt,
/// the wanted forms go round in circles: then a class that could have another form takes it.
class Grounding {
 public:
  Grounding(const FormGraph& graph, std::span<const FormId> wanted)
      : g_(graph), granted_(graph.num_classes(), none), waits_for_(graph.num_forms()) {
    wanted_.assign(wanted.begin(), wanted.end());
    for (ClassId c = 0; c < g_.num_classes(); ++c) {
      if (wanted_[c] == none) wanted_[c] = g_.first_form(c);
    }
    list_uses();
  }

  LargeVector<FormId> run() {
    for (FormId f = 0; f < g_.num_forms(); ++f) {
      if (waits_for_[f] == 0) is_possible(f);
    }
    for (std::size_t next_spare = 0;;) {
      for (; !queue_.empty();) {
        const ClassId c = queue_.back();
        queue_.pop_back();
        for (std::uint32_t i = first_use_[c]; i < first_use_[c + 1]; ++i) {
          if (--waits_for_[uses_[i]] == 0) is_possible(uses_[i]);
        }
      }
      while (next_spare < spare_.size() && granted_[class_of(spare_[next_spare])] != none) ++next_spare;
      if (next_spare == spare_.size()) return std::move(granted_);
      grant(spare_[next_spare]);
    }
  }

 private:
  ClassId class_of(FormId f) const noexcept { return g_.find(g_.form(f).of); }

  void list_uses() {
    first_use_.assign(g_.num_classes() + 1, 0);
    const auto each = [&](auto visit) {
      for (FormId f = 0; f < g_.num_forms(); ++f) {
        for (ClassId c : g_.children(g_.form(f))) visit(g_.find(c), f);
      }
    };
    each([&](ClassId c, FormId f) {
      ++first_use_[c + 1];
      ++waits_for_[f];
    });
    std::partial_sum(first_use_.begin(), first_use_.end(), first_use_.begin());
    uses_.resize(first_use_.back());
    LargeVector<std::uint32_t> end(first_use_.begin(), first_use_.end() - 1);
    each([&](ClassId c, FormId f) { uses_[end[c]++] = f; });
  }

  void is_possible(FormId f) {
    const ClassId c = class_of(f);
    if (granted_[c] != none) return;
    if (wanted_[c] == f) {
      grant(f);
    } else {
      spare_.push_back(f);
    }
  }

  void grant(FormId f) {
    granted_[class_of(f)] = f;
    queue_.push_back(class_of(f));
  }

  const FormGraph& g_;
  LargeVector<FormId> wanted_;
  LargeVector<FormId> granted_;
  LargeVector<std::uint32_t> waits_for_;  // by form: parts without a form
  LargeVector<std::uint32_t> first_use_;  // by class: where the forms that it is a part of begin
  LargeVector<FormId> uses_;
  LargeVector<FormId> spare_;
  LargeVector<ClassId> queue_;
};

}  // namespace

LargeVector<FormId> grounded(const FormGraph& graph, std::span<const FormId> wanted) {
  return Grounding(graph, wanted).run();
}

}  // namespace quarv::forms
