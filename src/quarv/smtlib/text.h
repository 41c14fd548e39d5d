/// \file
/// Terms, symbols and sorts as SMT-LIB text, for messages and debugging; longer texts are the printer's.
#pragma once

#include <iosfwd>
#include <string>

#include <quarv/export.h>
#include <quarv/term/term_manager.h>

namespace quarv {

/// The term on one line, sub-terms that occur more than once as `let`; "null" for a null pointer.
QUARV_API std::string to_string(const Term* t);
/// A function's name, quoted where it has to be; an operator with its indices, `(_ extract 7 0)`; a number.
QUARV_API std::string to_string(const Symbol* s);
/// The sort, `(_ BitVec 8)`.
QUARV_API std::string to_string(const DataType* sort);

/// Likewise. Who wants the address of a term casts it to `const void*`.
QUARV_API std::ostream& operator<<(std::ostream& out, const Term* t);
QUARV_API std::ostream& operator<<(std::ostream& out, const Symbol* s);
QUARV_API std::ostream& operator<<(std::ostream& out, const DataType* sort);

}  // namespace quarv
