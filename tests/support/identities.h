/// \file
/// The table of everyday identities over all theories.
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include <quarv/session/session.h>
#include <quarv/smtlib/read/reader.h>

namespace quarv {

struct Identity {
  std::string term;
  std::string form;
  bool reached = true;  // as the file says
};

struct IdentityTable {
  std::string declarations;
  std::vector<Identity> identities;
};

inline IdentityTable read_identities() {
  std::ifstream file(std::string(QUARV_SOURCE_DIR) + "/tests/simpl/extended/identities.txt");
  IdentityTable table;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("(declare-")) table.declarations += line + '\n';
    const std::size_t arrow = line.find(" ==> ");
    if (arrow == std::string::npos) continue;
    Identity identity{line.substr(0, arrow), line.substr(arrow + 5)};
    if (identity.term.starts_with('-')) {
      identity.reached = false;
      identity.term.erase(0, 1);
    }
    table.identities.push_back(identity);
  }
  return table;
}

/// The sort of a term over what the table declares, as it is written.
inline std::string sort_of(const IdentityTable& table, const std::string& term) {
  SessionOptions options;
  options.simplify = false;
  Session session(options);
  smtlib::Reader reader(session);
  reader.read(table.declarations, "declarations");
  return session.manager().type_of(reader.term(term, "term"))->to_string();
}

}  // namespace quarv
