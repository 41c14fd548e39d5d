#pragma once

#include <cstdint>
#include <vector>

#include <quarv/forms/choice.h>
#include <quarv/smtlib/script.h>
#include <quarv/smtlib/written_forms.h>
#include <quarv/term/term_manager.h>

namespace quarv::smtlib {

/// The question that is asked about the terms of a script: it says what is needed and what may be written
/// where. It refers to the graph of `written`, to which nothing may be added meanwhile.
class ScriptQuestion {
 public:
  /// `num_written`: forms before this one are as the user wrote them.
  ScriptQuestion(const TermManager& manager, WrittenForms& written, const Script& script,
                 forms::FormId num_written);

  forms::Question question() const;

 private:
  void add_roots(const Script& script);
  void add_base(const NormalForms& normal);
  void add_literals();
  void add_scopes(const TermManager& manager, const Script& script);

  const WrittenForms& written_;
  const forms::FormGraph& graph_;
  const forms::FormId num_written_;
  std::vector<forms::ClassId> roots_;
  std::vector<forms::ClassId> declared_;
  std::vector<std::uint32_t> root_commands_;
  LargeVector<forms::FormId> base_;          // by class
  LargeVector<std::uint8_t> is_value_;       // by class
  std::vector<std::uint8_t> makes_literal_;  // by head
  forms::Scopes scopes_;
  bool has_scopes_ = false;  // some symbols are not visible to all roots
};

}  // namespace quarv::smtlib
