#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <quarv/export.h>
#include <quarv/session/session.h>

namespace quarv::smtlib {

/// The assertions of a script that are in force at its end. What occurs in them is declared in the session
/// from then on: one name is one symbol; levels and assertions of the session stay as they are. `file` is for
/// messages. Throws InputError, and std::invalid_argument for definitions of functions with parameters, which
/// have no place among terms; then nothing is declared.
QUARV_API std::vector<const Term*> read_assertions(Session& session, std::string_view text,
                                                   const std::string& file);

/// The term of another manager in the session, which declares what occurs in it. \throws
/// std::invalid_argument when a name is declared with other sorts there; then nothing is declared. SortError
/// for a null term and for one that does not belong to `from`
QUARV_API const Term* translate(const TermManager& from, const Term* t, Session& to);

}  // namespace quarv::smtlib
