#include <algorithm>
#include <stdexcept>

#include <quarv/smtlib/read/assertions.h>
#include <quarv/smtlib/read/reader.h>

namespace quarv::smtlib {

std::vector<const Term*> read_assertions(Session& session, std::string_view text, const std::string& file) {
  const Session::Place before = session.place();
  try {
    Reader reader(session, {.names = Reader::Options::Names::shared, .normalize = false});
    const Script script = reader.read_in_place(text, file);
    const bool defines = std::any_of(script.commands.begin(), script.commands.end(), [](const Command& c) {
      return c.kind == Command::Kind::define_function;
    });
    if (defines) {
      throw std::invalid_argument(file +
                                  ": functions with parameters are defined, which terms alone cannot say");
    }
  } catch (...) {
    session.return_to(before);
    throw;
  }
  const Session::Args own = session.assertions().subspan(before.formulas);
  const std::vector<const Term*> assertions(own.begin(), own.end());
  session.return_to(before, true);
  return assertions;
}

}  // namespace quarv::smtlib
