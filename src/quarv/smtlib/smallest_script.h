#pragma once

#include <cstdint>
#include <memory>

#include <quarv/session/session.h>
#include <quarv/smtlib/script.h>
#include <quarv/smtlib/written_forms.h>
#include <quarv/term/term_manager.h>

namespace quarv::smtlib {

/// A script whose terms are texts only: each operator is an uninterpreted symbol with the operator's text for
/// a name, so that printing them gives just what was chosen.
struct ChosenScript {
  std::unique_ptr<TermManager> manager;
  Script script;
  forms::Size size;
  forms::Size as_written;         ///< of the script as it was written,
  bool is_written_twice = false;  ///< where what is the same in the end counts once though it was written in
                                  ///< several ways
};

/// The commands of `script`, which was read into `session`, with each term in the form in which the whole is
/// smallest. Nothing can be written down afterwards. Null where no choice can be made.
std::unique_ptr<ChosenScript> choose_smallest(Session& session, WrittenForms& written, const Script& script);

}  // namespace quarv::smtlib
