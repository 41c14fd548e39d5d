#include <vector>

#include <quarv/session/session.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/written_forms.h>
#include <quarv/smtlib/written_size.h>

namespace quarv::smtlib {

std::size_t written_size(std::string_view text, const std::string& file, bool lenient) {
  Session session({.simplify = false});
  WrittenForms written(session.manager());
  Reader reader(session, {.written = &written, .lenient = lenient});
  const Script script = reader.read_in_place(text, file);
  const forms::FormGraph& graph = written.graph();
  std::vector<bool> seen(graph.num_classes());
  std::vector<forms::ClassId> pending;
  std::size_t size = 0;
  const auto visit = [&](forms::ClassId c) {
    c = graph.find(c);
    if (seen[c]) return;
    seen[c] = true;
    pending.push_back(c);
  };
  for (std::size_t i = 0; i < script.terms.size(); ++i) {
    if (i >= script.term_texts.size() || script.term_texts[i].empty()) visit(script.forms[i]);
  }
  while (!pending.empty()) {
    const forms::FormId f = graph.first_form(pending.back());
    pending.pop_back();
    if (f == forms::none) continue;
    size += graph.cost(f);
    for (forms::ClassId c : graph.children(graph.form(f))) visit(c);
  }
  return size;
}

}  // namespace quarv::smtlib
