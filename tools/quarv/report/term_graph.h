#pragma once

#include <string>
#include <vector>

#include "explain/term_text.h"
#include "replay/trace_terms.h"

namespace quarv::cli {

/// A term as a directed graph in Graphviz' language; a sub-term that occurs repeatedly is one node.
std::string term_graph(const TraceTerms& terms, const TermText& text, TraceTerms::Id root);

/// Draws graphs as SVG elements by the program `dot`. Empty when that is not installed, or fails.
std::vector<std::string> draw_graphs(const std::vector<std::string>& graphs);

}  // namespace quarv::cli
