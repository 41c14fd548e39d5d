#include <sstream>

#include <quarv/api/handles.h>
#include <quarv/numbers/q_number.h>
#include <quarv/smtlib/read/assertions.h>
#include <quarv/smtlib/read/operators.h>
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/text.h>
#include <quarv/smtlib/write/script_text.h>
#include <quarv/term/dag_size.h>
#include <quarv/term/translation.h>
#include <quarv/term/walk.h>

using namespace quarv::api;
using quarv::DataType;
using quarv::QNumber;
using quarv::Term;
using quarv::TermManager;

namespace {

std::string simplified(const char* text, const char* name, bool smallest) {
  quarv::smtlib::SimplifyOptions options;
  options.smallest = smallest;
  std::ostringstream out;
  quarv::smtlib::simplify_script(checked(text), checked(name), out, options);
  return std::move(out).str();
}

/// An array for the caller. One more than needed: an array without elements is an array all the same.
quarv_term* array_of(const std::vector<const Term*>& list) {
  auto* copy = static_cast<quarv_term*>(std::malloc((list.size() + 1) * sizeof(quarv_term)));
  if (copy == nullptr) throw std::bad_alloc();
  for (std::size_t i = 0; i < list.size(); ++i) copy[i] = handle(list[i]);
  return copy;
}

/// The stored bits of a significand: all but the hidden one.
std::size_t stored_bits(std::size_t eb, std::size_t sb) {
  quarv::smtlib::build::check_format(eb, sb);
  return sb - 1;
}

}  // namespace

const char* quarv_version(void) {
  return QUARV_VERSION;
}

quarv_manager* quarv_manager_new(unsigned flags) {
  const quarv::GmpBadAlloc gmp;
  try {
    quarv::SessionOptions options;
    options.eager = (flags & QUARV_EAGER) != 0;
    options.library_semantics = (flags & QUARV_LIBRARY_SEMANTICS) != 0;
    options.rules = (flags & QUARV_NO_RULES) == 0;
    options.extended = (flags & QUARV_EXTENDED) != 0;
    return new quarv_manager(options);
  } catch (...) {
    return nullptr;
  }
}

void quarv_manager_delete(quarv_manager* m) {
  delete m;
}

quarv_status quarv_error(const quarv_manager* m) {
  return m == nullptr ? QUARV_INVALID_ARGUMENT : m->status;
}

const char* quarv_error_message(const quarv_manager* m) {
  return m == nullptr ? "a null pointer was given" : m->message.c_str();
}

void quarv_free(void* answer) {
  std::free(answer);
}

// Sorts.

quarv_sort quarv_bool_sort(quarv_manager* m) {
  return guarded(m, [&] { return handle(m->terms().bool_type); });
}
quarv_sort quarv_int_sort(quarv_manager* m) {
  return guarded(m, [&] { return handle(m->terms().int_type); });
}
quarv_sort quarv_real_sort(quarv_manager* m) {
  return guarded(m, [&] { return handle(m->terms().rat_type); });
}
quarv_sort quarv_rounding_mode_sort(quarv_manager* m) {
  return guarded(m, [&] { return handle(m->terms().rounding_mode_type); });
}
quarv_sort quarv_bv_sort(quarv_manager* m, size_t width) {
  return guarded(m, [&] { return handle(m->terms().get_bv_type(width)); });
}
quarv_sort quarv_fp_sort(quarv_manager* m, size_t eb, size_t sb) {
  return guarded(m, [&] { return handle(m->terms().get_fp_type(eb, stored_bits(eb, sb))); });
}
quarv_sort quarv_array_sort(quarv_manager* m, quarv_sort index, quarv_sort element) {
  return guarded(m, [&] { return handle(m->terms().get_array_type(sort(index), sort(element))); });
}
quarv_sort quarv_declare_sort(quarv_manager* m, const char* name) {
  return guarded(m, [&] { return handle(m->reader.declare_sort(checked(name))); });
}
quarv_sort quarv_parse_sort(quarv_manager* m, const char* text) {
  return guarded(m, [&] { return handle(m->reader.sort(checked(text))); });
}
char* quarv_sort_to_string(quarv_manager* m, quarv_sort s) {
  return guarded(m, [&] { return handle(sort(s)->to_string()); });
}
size_t quarv_bv_width(quarv_manager* m, quarv_sort s) {
  return guarded(m, [&] {
    const DataType* type = sort(s);
    return m->terms().is_bv_type(type) ? m->terms().get_width_from_type(type) : 0;
  });
}

// Terms.

quarv_term quarv_constant(quarv_manager* m, const char* name, quarv_sort s) {
  return guarded(m, [&] { return handle(m->reader.constant(checked(name), sort(s))); });
}

quarv_status quarv_declare_function(quarv_manager* m, const char* name, const quarv_sort* arguments, size_t n,
                                    quarv_sort result) {
  return status_of(m, [&] {
    if (n == 0)
      throw std::invalid_argument(
          "a function needs at least one argument; without arguments it is a constant");
    std::vector<const DataType*> sorts;
    for (std::size_t i = 0; i < n; ++i) sorts.push_back(sort(checked(arguments)[i]));
    m->reader.declare_function(checked(name), sorts, sort(result));
  });
}

quarv_term quarv_true(quarv_manager* m) {
  return guarded(m, [&] { return handle(m->terms().true_term); });
}
quarv_term quarv_false(quarv_manager* m) {
  return guarded(m, [&] { return handle(m->terms().false_term); });
}
quarv_term quarv_number(quarv_manager* m, const char* value) {
  return guarded(m, [&] { return handle(m->terms().make_number(QNumber::parse(checked(value)))); });
}
quarv_term quarv_bv(quarv_manager* m, uint64_t value, size_t width) {
  return guarded(m,
                 [&] { return handle(quarv::smtlib::build::bit_vector(m->terms(), QNumber(value), width)); });
}
quarv_term quarv_bv_number(quarv_manager* m, const char* value, size_t width) {
  return guarded(m, [&] {
    return handle(quarv::smtlib::build::bit_vector(m->terms(), QNumber::parse(checked(value)), width));
  });
}
quarv_term quarv_fp_bits(quarv_manager* m, const char* bits, size_t eb, size_t sb) {
  return guarded(m, [&] {
    return handle(m->terms().make_fp_bits_number(QNumber::parse(checked(bits)), eb, stored_bits(eb, sb)));
  });
}
quarv_term quarv_make(quarv_manager* m, const char* op, const quarv_term* args, size_t n) {
  return guarded(m, [&] { return handle(m->reader.make(checked(op), terms(args, n))); });
}
quarv_term quarv_parse_term(quarv_manager* m, const char* text) {
  return guarded(m, [&] { return handle(m->reader.term(checked(text))); });
}

quarv_sort quarv_sort_of(quarv_manager* m, quarv_term t) {
  return guarded(m, [&] { return handle(m->terms().type_of(term(t))); });
}
uint64_t quarv_term_id(quarv_term t) {
  return t == nullptr ? UINT64_MAX : reinterpret_cast<const Term*>(t)->id;
}
size_t quarv_num_args(quarv_manager* m, quarv_term t) {
  return guarded(m, [&] { return m->terms().arity(term(t)); });
}
quarv_term quarv_arg(quarv_manager* m, quarv_term t, size_t i) {
  return guarded(m, [&] {
    const TermManager::Args args = m->terms().args_of(term(t));
    if (i >= args.size())
      throw std::invalid_argument("the term has " + std::to_string(args.size()) + " arguments");
    return handle(args[i]);
  });
}
char* quarv_value(quarv_manager* m, quarv_term t) {
  return guarded(m, [&]() -> char* {
    const QNumber* value = m->terms().get_number(term(t));
    return value == nullptr ? nullptr : handle(value->to_string());
  });
}
char* quarv_term_to_string(quarv_manager* m, quarv_term t) {
  return guarded(m, [&] { return handle(quarv::smtlib::term_text(m->terms(), term(t))); });
}
size_t quarv_num_nodes(quarv_manager* m, const quarv_term* list, size_t n) {
  return guarded(m, [&] { return quarv::dag_size(m->terms(), terms(list, n)); });
}

size_t quarv_depth(quarv_manager* m, quarv_term t) {
  return guarded(m, [&] { return quarv::depth(m->terms(), term(t)); });
}
char* quarv_head(quarv_manager* m, quarv_term t) {
  return guarded(m, [&] { return handle(quarv::to_string(term(t)->symbol)); });
}
quarv_status quarv_visit(quarv_manager* m, const quarv_term* list, size_t n,
                         void (*visit)(quarv_term t, void* data), void* data) {
  return status_of(m, [&] {
    checked(visit);
    quarv::visit_post_order(m->terms(), terms(list, n), [&](const Term* t) {
      const Callback running(*m);
      visit(handle(t), data);
    });
  });
}
quarv_status quarv_free_constants(quarv_manager* m, const quarv_term* list, size_t n, quarv_term** constants,
                                  size_t* num_constants) {
  return status_of(m, [&] {
    *checked(constants) = nullptr;
    *checked(num_constants) = 0;
    const std::vector<const Term*> found = quarv::free_constants(m->terms(), terms(list, n));
    *constants = array_of(found);
    *num_constants = found.size();
  });
}
quarv_term quarv_substitute(quarv_manager* m, quarv_term t, const quarv_term* what, const quarv_term* by,
                            size_t n) {
  return guarded(m, [&] {
    const TermManager::Args from = terms(what, n);
    const TermManager::Args to = terms(by, n);
    quarv::Substitution substitution(m->terms());
    for (std::size_t i = 0; i < n; ++i) substitution.set(from[i], to[i]);
    return handle(m->session.substitute(term(t), substitution));
  });
}
quarv_term quarv_evaluate(quarv_manager* m, quarv_term t, const quarv_term* constants,
                          const quarv_term* values, size_t n, int complete) {
  return guarded(m, [&] {
    const TermManager::Args from = terms(constants, n);
    const TermManager::Args to = terms(values, n);
    quarv::Model model(m->terms());
    for (std::size_t i = 0; i < n; ++i) model.set(from[i], to[i]);
    if (complete != 0) model.complete();
    return handle(m->session.evaluate(term(t), model));
  });
}
quarv_term quarv_translate(quarv_manager* from, quarv_term t, quarv_manager* to) {
  return guarded(
      to, [&] { return handle(quarv::smtlib::translate(checked(from)->terms(), term(t), to->session)); });
}

// Memory.

uint64_t quarv_mark(quarv_manager* m) {
  return guarded(m, [&] {
    m->marks.push_back({m->num_marks + 1, {}});
    try {
      m->marks.back().mark = m->reader.mark();
    } catch (...) {
      m->marks.pop_back();
      throw;
    }
    return ++m->num_marks;
  });
}

quarv_status quarv_release(quarv_manager* m, uint64_t mark) {
  return status_of(m, [&] {
    if (m->num_callbacks > 0) {
      throw std::invalid_argument("a function that quarv calls must not release anything");
    }
    std::size_t i = m->marks.size();
    while (i > 0 && m->marks[i - 1].number > mark) --i;
    if (i == 0 || m->marks[i - 1].number != mark) {
      throw std::invalid_argument("the mark is not in force: it, or an earlier one, has been released");
    }
    m->reader.release(m->marks[i - 1].mark);
    m->marks.resize(i - 1);
  });
}

size_t quarv_memory(quarv_manager* m) {
  return guarded(m, [&] { return m->terms().memory().total(); });
}

quarv_status quarv_set_memory_limit(quarv_manager* m, size_t bytes) {
  return status_of(m, [&] { m->terms().set_memory_limit(bytes); });
}

// Simplification.

quarv_term quarv_simplify(quarv_manager* m, quarv_term t) {
  return guarded(m, [&] { return handle(m->session.simplify(term(t))); });
}

quarv_term quarv_explain(quarv_manager* m, quarv_term t, void (*step)(const quarv_step*, void* data),
                         void* data) {
  return guarded(m, [&] {
    std::vector<quarv::Step> steps;
    checked(step);
    const Term* result = m->session.simplify(term(t), steps);
    for (const quarv::Step& s : steps) {
      const quarv_step told = {s.rule, s.name.c_str(), handle(s.before), handle(s.after),
                               s.rule_name.c_str()};
      const Callback running(*m);
      step(&told, data);
    }
    return handle(result);
  });
}

quarv_status quarv_add_rules(quarv_manager* m, const char* text, const char* name) {
  return status_of(m, [&] { m->session.add_rules({checked(name), checked(text)}); });
}

// Scripts.

quarv_status quarv_parse_script(quarv_manager* m, const char* text, const char* name, quarv_term** assertions,
                                size_t* n) {
  return status_of(m, [&] {
    *checked(assertions) = nullptr;
    *checked(n) = 0;
    const std::vector<const Term*> list =
        quarv::smtlib::read_assertions(m->session, checked(text), checked(name));
    *assertions = array_of(list);
    *n = list.size();
  });
}

char* quarv_script(quarv_manager* m, const quarv_term* assertions, size_t n) {
  return guarded(m, [&] { return handle(quarv::smtlib::script_text(m->terms(), terms(assertions, n))); });
}

char* quarv_smallest_script(quarv_manager* m, const quarv_term* assertions, size_t n) {
  return guarded(m, [&] { return handle(quarv::smtlib::smallest_text(m->terms(), terms(assertions, n))); });
}

char* quarv_simplify_script(quarv_manager* m, const char* text, const char* name) {
  return guarded(m, [&] { return handle(simplified(text, name, true)); });
}

char* quarv_normalize_script(quarv_manager* m, const char* text, const char* name) {
  return guarded(m, [&] { return handle(simplified(text, name, false)); });
}
