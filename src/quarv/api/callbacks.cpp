// Functions of the caller's that are called while terms are simplified.
#include <quarv/api/handles.h>
#include <quarv/session/named_operator.h>
#include <quarv/smtlib/text.h>

using namespace quarv::api;
using quarv::OwnSimplifications;
using quarv::Symbol;
using quarv::Term;
using quarv::TermManager;

namespace {

const quarv_term* handles(std::span<const Term* const> args) {
  return reinterpret_cast<const quarv_term*>(args.data());
}

OwnSimplifications::Function called(quarv_manager* m, quarv_simplification simplification, void* data) {
  return [=](TermManager&, const Symbol* symbol, OwnSimplifications::Args args) -> const Term* {
    const std::string op = quarv::to_string(symbol);
    const Callback running(*m);
    return reinterpret_cast<const Term*>(simplification(m, op.c_str(), handles(args), args.size(), data));
  };
}

class Observer : public quarv::SimplificationObserver {
 public:
  using Function = void (*)(const quarv_event*, void*);

  Observer(quarv_manager& m, Function function, void* data) : manager_(m), function_(function), data_(data) {}

  void on_rule(std::size_t rule, const Term* before, const Term* after) override {
    const std::string name(manager_.session.simplifier().normalizer.get_rule(rule).get_name());
    tell({rule + 1, name.c_str(), handle(before), nullptr, 0, handle(after)});
  }
  void on_simplification(const Symbol* op, TermManager::Args args, const Term* after) override {
    const std::string name = quarv::to_string(op);
    tell({0, name.c_str(), nullptr, handles(args), args.size(), handle(after)});
  }

 private:
  void tell(const quarv_event& event) {
    const Callback running(manager_);
    function_(&event, data_);
  }

  quarv_manager& manager_;
  Function function_;
  void* data_;
};

}  // namespace

quarv_status quarv_add_simplification(quarv_manager* m, const char* op, int after,
                                      quarv_simplification simplification, void* data) {
  return status_of(m, [&] {
    const auto when = after != 0 ? OwnSimplifications::When::after : OwnSimplifications::When::before;
    const OwnSimplifications::Function f = called(m, checked(simplification), data);
    if (const Symbol* declared = m->session.declared(checked(op))) {
      m->session.add_simplification(declared, f, when);
    } else {
      m->session.add_simplification(quarv::operator_named(op).tag, f, when);
    }
  });
}

quarv_status quarv_observe(quarv_manager* m, void (*observer)(const quarv_event* event, void* data),
                           void* data) {
  return status_of(m, [&] {
    if (m->num_callbacks > 0)
      throw std::invalid_argument("a function that quarv calls must not set an observer");
    auto made = observer == nullptr ? nullptr : std::make_unique<Observer>(*m, observer, data);
    m->session.simplifier().set_observer(made.get());
    m->observer = std::move(made);
  });
}
