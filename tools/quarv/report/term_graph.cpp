#include "report/term_graph.h"

#include <cstdio>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>

#include <fmt/core.h>

#include "io/file_descriptor.h"

namespace quarv::cli {

namespace {

/// A label is short, and has no character that means something to Graphviz.
std::string label(const std::string& head) {
  constexpr std::size_t longest = 24;
  std::string text;
  for (char c : head.substr(0, longest)) {
    if (c == '"' || c == '\\') text += '\\';
    text += c == '\n' ? ' ' : c;
  }
  return head.size() > longest ? text + "..." : text;
}

/// The SVG elements in what `dot` writes, which has a prologue before each of them.
std::vector<std::string> elements(const std::string& output) {
  constexpr std::string_view closing = "</svg>";
  std::vector<std::string> found;
  std::size_t begin = 0;
  while ((begin = output.find("<svg", begin)) != std::string::npos) {
    const std::size_t end = output.find(closing, begin);
    if (end == std::string::npos) break;
    found.push_back(output.substr(begin, end + closing.size() - begin));
    begin = end;
  }
  return found;
}

}  // namespace

std::string term_graph(const TraceTerms& terms, const TermText& text, TraceTerms::Id root) {
  std::string graph =
      "digraph {\n  bgcolor=transparent; ordering=out; nodesep=0.15; ranksep=0.3;\n"
      "  node [fontsize=11, height=0.3, margin=\"0.08,0.03\"];\n  edge [arrowsize=0.5];\n";
  for (TraceTerms::Id id : in_post_order(terms, root)) {
    const Expression& e = terms.term(id);
    graph += fmt::format("  t{} [label=\"{}\"{}];\n", id, label(text.head(id)),
                         e.args.empty() ? ", shape=box, style=rounded" : "");
    for (TermName arg : e.args) graph += fmt::format("  t{} -> t{};\n", id, arg);
  }
  return graph + "}\n";
}

std::vector<std::string> draw_graphs(const std::vector<std::string>& graphs) {
  if (graphs.empty()) return {};
  const FileDescriptor file(memfd_create("quarv-graphs", 0));  // which the program inherits
  if (!file) return {};
  for (const std::string& graph : graphs) {
    if (write(file.get(), graph.data(), graph.size()) != static_cast<ssize_t>(graph.size())) return {};
  }
  const std::string command = fmt::format("dot -Tsvg /dev/fd/{} 2> /dev/null", file.get());
  const std::unique_ptr<FILE, int (*)(FILE*)> program(popen(command.c_str(), "re"), pclose);
  if (!program) return {};
  std::string output;
  char buffer[1 << 14];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, program.get())) != 0;)
    output.append(buffer, n);
  std::vector<std::string> drawn = elements(output);
  if (drawn.size() != graphs.size()) drawn.clear();
  return drawn;
}

}  // namespace quarv::cli
