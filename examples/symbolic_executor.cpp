// A symbolic executor of straight-line code over unsigned 32-bit words. quarv is its term store; z3's command
// line decides what simplification leaves open. For each operation that can go wrong (division by zero, a
// shift by 32 or more) and each `check`, it asks whether some input that the assumptions allow makes it go
// wrong.
//
//     symbolic_executor [FILE]      statements, one a line:
//         input x                   any word
//         x = a + b                 + - * / % & | ^ << >>; a and b are names or decimal numbers
//         assume a < b              < <= == !=
//         check a < b
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

#include <quarv/smtlib.h>

namespace {

using quarv::Term;

constexpr std::size_t width = 32;

constexpr const char* sample = R"(input length
input offset
input seed
header = 20
assume length < 65536
assume header <= length
words = length / 4
rest = length % 4
check rest < 4
payload = length - header
check payload <= length
mask = 1 << 5
bits = mask - 1
slot = seed & bits
check slot < mask
bucket = slot << 2
stride = 4 + 4
index = bucket / stride
part = offset & 31
rotated = seed >> part
twice = payload + payload
half = twice >> 1
check half == payload
mixed = seed ^ offset
back = mixed ^ offset
check back == seed
ratio = seed / payload
share = offset / payload
end = offset + payload
check offset <= end
)";

/// Asks z3 about formulas; the answers to those asked before are kept.
class Solver {
 public:
  explicit Solver(const quarv::TermManager& mgr) : mgr_(mgr) {}

  struct Counts {
    int simplified = 0;  // to true or false
    int known = 0;       // the same term as one before
    int asked = 0;
  };
  const Counts& counts() const { return counts_; }

  /// "sat", "unsat" or what z3 says instead.
  std::string check(const Term* formula) {
    if (formula == mgr_.true_term || formula == mgr_.false_term) {
      ++counts_.simplified;
      return formula == mgr_.true_term ? "sat" : "unsat";
    }
    const auto [answer, is_new] = answers_.try_emplace(formula);
    ++(is_new ? counts_.asked : counts_.known);
    if (is_new) answer->second = ask(quarv::smtlib::script_text(mgr_, {&formula, 1}) + "(check-sat)\n");
    return answer->second;
  }

 private:
  static std::string ask(const std::string& script) {
    std::string name = (std::filesystem::temp_directory_path() / "query.XXXXXX").string();
    const int file = mkstemp(name.data());
    if (file < 0) throw std::runtime_error("cannot write to " + name);
    std::FILE* query = fdopen(file, "w");
    std::fputs(script.c_str(), query);
    std::fclose(query);
    std::FILE* pipe = popen(("z3 -smt2 '" + name + "'").c_str(), "r");
    char line[256] = "no answer";
    if (pipe != nullptr) {
      if (std::fgets(line, sizeof line, pipe) == nullptr) line[0] = '\0';
      pclose(pipe);
    }
    std::filesystem::remove(name);
    const std::string answer = line;
    return answer.substr(0, answer.find('\n'));
  }

  const quarv::TermManager& mgr_;
  std::map<const Term*, std::string> answers_;
  Counts counts_;
};

class Executor {
 public:
  void run(std::istream& program) {
    std::string line;
    while (std::getline(program, line)) {
      ++line_;
      text_ = line;
      statement(line);
    }
    const Solver::Counts& n = solver_.counts();
    const int all = n.simplified + n.known + n.asked;
    std::cout << all << " queries: " << n.simplified << " decided by simplification, " << n.known
              << " the same as one before, " << n.asked << " sent to z3\n";
  }

 private:
  void statement(const std::string& line) {
    std::istringstream words(line);
    std::string first, second, third, op, fourth;
    words >> first >> second >> third >> op >> fourth;
    if (first.empty()) return;
    if (first == "input") {
      store_[second] = session_.constant(second, mgr_.get_bv_type(width));
    } else if (first == "assume") {
      const Term* condition = relation(third, value(second), value(op));
      path_ = session_.simplify(mgr_.make_and(path_, condition));
    } else if (first == "check") {
      must_hold(relation(third, value(second), value(op)), "can fail");
    } else if (second == "=" && op.empty()) {
      store_[first] = value(third);
    } else if (second == "=") {
      store_[first] = session_.simplify(operation(op, value(third), value(fourth)));
    } else {
      throw std::runtime_error("line " + std::to_string(line_) + ": no statement: " + line);
    }
  }

  const Term* value(const std::string& word) {
    const auto found = store_.find(word);
    if (found != store_.end()) return found->second;
    return quarv::smtlib::build::bit_vector(mgr_, quarv::QNumber::parse(word), width);
  }

  const Term* relation(const std::string& sign, const Term* a, const Term* b) {
    static const std::map<std::string, const char*> names = {
        {"<", "bvult"}, {"<=", "bvule"}, {"==", "="}, {"!=", "distinct"}};
    return apply(names, sign, a, b);
  }

  const Term* operation(const std::string& sign, const Term* a, const Term* b) {
    static const std::map<std::string, const char*> names = {
        {"+", "bvadd"}, {"-", "bvsub"}, {"*", "bvmul"}, {"/", "bvudiv"}, {"%", "bvurem"},
        {"&", "bvand"}, {"|", "bvor"},  {"^", "bvxor"}, {"<<", "bvshl"}, {">>", "bvlshr"}};
    if (sign == "/" || sign == "%") {
      const Term* is_zero = mgr_.make_equal(b, mgr_.make_bv_number(0, width));
      must_hold(mgr_.make_not(is_zero), "can divide by zero");
    }
    if (sign == "<<" || sign == ">>")
      must_hold(mgr_.make_bv_ult(b, mgr_.make_bv_number(width, width)), "can shift too far");
    return apply(names, sign, a, b);
  }

  const Term* apply(const std::map<std::string, const char*>& names, const std::string& sign, const Term* a,
                    const Term* b) {
    const auto name = names.find(sign);
    if (name == names.end())
      throw std::runtime_error("line " + std::to_string(line_) + ": what is " + sign + "?");
    const Term* args[] = {a, b};
    return reader_.make(name->second, args);
  }

  /// Reports the statement if some input on the path makes `condition` false.
  void must_hold(const Term* condition, const char* complaint) {
    const Term* violated = mgr_.make_not(condition);
    const Term* query = session_.simplify(mgr_.make_and(path_, violated));
    const std::string answer = solver_.check(query);
    if (answer == "unsat") return;
    std::cout << "line " << line_ << ": " << text_ << ": " << complaint;
    std::cout << (answer == "sat" ? "\n" : " (" + answer + ")\n");
  }

  quarv::Session session_;
  quarv::TermManager& mgr_ = session_.manager();
  quarv::smtlib::Reader reader_{session_, {.names = quarv::smtlib::Reader::Options::Names::session}};
  Solver solver_{mgr_};
  std::map<std::string, const Term*> store_;
  const Term* path_ = mgr_.true_term;
  int line_ = 0;
  std::string text_;
};

}  // namespace

int main(int argc, char** argv) {
  try {
    std::istringstream built_in(sample);
    std::ifstream file;
    if (argc > 1) {
      file.open(argv[1]);
      if (!file) throw std::runtime_error(std::string("cannot read ") + argv[1]);
    }
    Executor().run(argc > 1 ? static_cast<std::istream&>(file) : built_in);
  } catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return 1;
  }
}
