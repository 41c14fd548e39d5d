#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include <gmpxx.h>

#include "replay/bit_proof.h"
#include "replay/literal_evaluation.h"
#include "replay/quantifier_elimination.h"
#include "replay/trace_terms.h"
#include "replay/words.h"

namespace quarv::cli {

/// Normal forms of terms, by means that share nothing with the simplifiers: truth values and bit-vectors are
/// truth functions of their bits, numbers polynomials, choices lists of cases, arrays what is written to
/// them. Terms of one value are equal, and what else is equal can be proved. What is not understood, or would
/// take too long, stands for anything, but for the same wherever it occurs.
class TermValues {
 public:
  using Id = TraceTerms::Id;

  explicit TermValues(TraceTerms& terms) : terms_(terms), quantifiers_(terms) {}
  /// With less effort: of a term that consists of more than so many others those farthest from it stand for
  /// anything.
  static std::unique_ptr<TermValues> of_nearest_terms(TraceTerms& terms, std::size_t most_terms);

  /// With less effort: what both terms have stands for anything, but for the `most_shared` parts that are
  /// nearest to where they differ.
  static std::unique_ptr<TermValues> of_differences(TraceTerms& terms, Id a, Id b, std::size_t most_shared);

  /// Whether it is shown that the two terms of one sort, or two of arithmetic, are equal whatever their
  /// variables are.
  bool are_equal(Id a, Id b);
  /// Whether that takes no search.
  bool have_equal_values(Id a, Id b);
  /// Equal names say that terms are equal; nothing when the effort was used up.
  std::optional<std::string> name_of_value(Id id);
  /// It has been shown by other means that they are.
  void learn(Id a, Id b);
  /// The effort for all proofs together was used up: nothing more is proved.
  bool is_exhausted() const noexcept { return exhausted_; }
  /// How many facts were looked at to prove what was asked for.
  std::size_t num_lemmas() const noexcept { return num_lemmas_; }

 private:
  using Bit = BitGraph::Bit;
  using Bits = Words::Bits;
  using Word = Words::Word;
  using Value = std::uint32_t;              // a Word, or the number of a thing, as the sort says
  using Argument = std::pair<Value, bool>;  // whether it is a word
  using Case = std::pair<Value, Bit>;

  /// A polynomial: coefficients by things that are no sums. Products are such things.
  struct Sum {
    std::map<Value, mpq_class> coefficients;
    mpq_class constant;
  };

  /// A value that does not consist of bits.
  struct Thing {
    enum Kind : std::uint8_t { application, literal, sum, product, choice };
    Kind kind = application;
    bool is_number = false;
    bool is_integer = false;
    std::string op{};              ///< of an application
    std::vector<Argument> args{};  ///< of an application or a product
    std::vector<Case> cases{};     ///< of a choice: of the bits exactly one holds
    Sum polynomial{};
  };

  /// What a variable of the graph says.
  struct Atom {
    enum Kind : std::uint8_t { equality, at_most, at_least, equal_to };
    Kind kind = equality;
    Value a = 0, b = 0;    ///< of an equality of things
    std::size_t form = 0;  ///< of a comparison: of which sum without its constant
    mpq_class bound{};
    bool is_integer = false;
  };

  /// What a term is under a condition.
  struct ConstantCase {
    Bit condition;
    mpq_class number;
  };

  /// The fractional part of a sum, times a factor, plus a constant.
  struct Remainder {
    Sum sum;
    mpq_class factor, constant;
  };

  /// Where the values of a remainder lie.
  struct RemainderRange {
    mpq_class low, high;
    bool is_above_low, is_below_high;  ///< the ends are none
    mpz_class divisor;                 ///< all are multiples of its reciprocal; 0: they are any
  };

  // term_values.cpp
  bool are_proved_equal(Id a, Id b);
  bool are_of_one_kind(Id a, Id b) const;
  bool is_word(const Expression& e) const;
  bool is_word(Id id) const { return is_word(terms_.term(id)); }
  std::size_t width(const Expression& e) const;
  Value value(Id root);
  void cut(Id root);
  Value stand_in(Id id);
  Value combined(Id id);
  Value argument(const Expression& e, std::size_t i);
  Value current(Value v, bool is_word);
  std::optional<Value> constant(const Expression& e);
  Value literal(Id id);
  Value literal(std::size_t sort, const mpz_class& number);
  std::optional<mpq_class> constant_number(Id id) const;
  std::vector<ConstantCase> constant_cases(Id root);
  std::optional<Value> evaluated(const Expression& e);
  std::optional<Value> evaluated(const Expression& e, std::span<const LiteralEvaluation::Argument> args);
  std::string operator_key(const Expression& e) const;
  Value application(const Expression& e);
  Value application(Thing t, const Expression& e);
  Value rounding_mode(std::size_t sort, Word w);
  void equate(Value a, Value b, bool is_word);
  bool is_proved(Value x, Value y, bool is_word, bool is_number);

  // term_values_bits.cpp
  Bit bit(Value v) const { return words_.bits(v)[0]; }
  Value truth(Bit b) { return words_.word({b}); }
  std::optional<Value> truth(const Expression& e);
  Bit equation(const Expression& e);
  std::optional<Value> bit_vector(const Expression& e);
  std::optional<Value> unary(const Expression& e, Word a);
  std::optional<Value> binary(const Expression& e, Word a, Word b);
  Word divided(bool quotient, Word a, Word b);

  // term_values_floats.cpp
  using Float = std::pair<Word, std::size_t>;  // and the sort
  struct Encoding {
    Bit sign, nan, infinite, zero, subnormal, normal;
  };
  bool is_float(const Expression& e) const;
  Encoding encoding(const TraceSort& format, Word w);
  Word float_word(const TraceSort& format, const Bits& bits);
  Word float_constant(const TraceSort& format, mpz_class encoded);
  Word negated_float(const TraceSort& format, Word a, Bit if_so);
  Word magnitude(Word a);
  Bit float_less(const TraceSort& format, Word a, Word b, bool or_equal);
  std::optional<Value> float_value(const Expression& e);
  std::optional<Value> float_with_constant(const Expression& e, const TraceSort& format);
  Value commuted_float(const Expression& e, const std::string& op, Word a, Word b);
  Value converted_float(const Expression& e);
  Word converted(const TraceSort& source, Word a, const TraceSort& target, Word rounded, bool is_exact);
  Value float_of_number(const Expression& e, const TraceSort& format);
  Value scaled_float(const Expression& e);
  Value extremum(const Expression& e, const TraceSort& format);
  Value rounded_float(const Expression& e, const TraceSort& format);
  std::optional<Bit> float_truth(const Expression& e);

  // term_values_quantifiers.cpp
  bool may_contain(Id root, const std::vector<TermName>& variables) const;
  std::optional<Value> quantified(const Expression& e);

  // term_values_arrays.cpp
  static constexpr const char* floor_key = "integer part";
  static constexpr const char* store_key = "o5:store";
  static constexpr const char* const_key = "o5:const";
  bool is_store(Value v) const;
  std::optional<Value> array(const Expression& e);
  Value stored(Value array, Argument index, Argument element, const Expression& e);
  Value read(Value array, Argument index, const Expression& e);
  std::optional<Value> read_of_choice(Value array, Argument index, const Expression& e);
  bool holds_already(Value array, Argument index, Argument element, const Expression& e);
  bool is_everywhere(Value array) const;
  bool opens_writes(Value array, std::vector<Argument>& indices, Value& base) const;
  Bit equal_arrays(Value a, Value b, const Expression& array);

  // term_values_things.cpp
  Value thing(Thing t, const std::string& key);
  const Thing& at(Value v) const { return things_[v]; }
  Value found(Value v) const;
  Value choice(Bit condition, Value a, Value b);
  Value choice(std::vector<Case> cases);
  Bit equal(Argument a, Argument b);
  Bit equal(Value a, Value b);
  bool is_among_literals(Value v) const;
  Bit equal_literals(Value a, Value b);
  Bit atom(Atom says, const std::string& key);

  /// Takes from the effort for all proofs together; throws Exhausted when there is none left.
  void spend(std::size_t effort) {
    if (effort_left_ < effort) throw Exhausted();
    effort_left_ -= effort;
  }

  // term_values_numbers.cpp
  bool is_number(const Expression& e) const;
  std::optional<Value> number(const Expression& e);
  Value number(const Sum& sum);
  Sum sum_of(Value v) const;
  static void add(Sum& sum, const Sum& other, const mpq_class& factor);
  static std::string text(const Sum& sum);
  bool is_integral(const Sum& sum) const;
  Value product(const Sum& a, const Sum& b);
  Value factors(Value a, Value b);
  Value floor(Sum sum);
  void open_floor(Sum& sum) const;
  Value natural(Word w, bool is_signed);
  std::optional<Word> word_of_natural(Value v);
  std::optional<Word> word_of(Value v, std::size_t width, std::size_t depth = 0);
  std::optional<Word> word_of_choice(Value v, std::size_t width, std::size_t depth);

  // term_values_comparisons.cpp
  Bit compare(Sum difference, bool equality);
  std::optional<Bit> compare_words(const Sum& difference, bool equality);
  template <class Says>
  std::optional<Bit> in_cases(const Sum& d, Says says);
  Bit compare_form(Sum difference, bool equality, bool integer);
  bool is_sum_of_squares(const Sum& d, int sign) const;
  std::optional<Bit> compare_squares(const Sum& d, bool equality);
  std::optional<Bit> compare_square_of_sum(const Sum& d, bool equality);
  Bit congruent(const Sum& difference, const mpz_class& modulus);
  Bit has_digit(const std::string& residue, unsigned long base, unsigned long digit);
  Sum floor_argument(Value v) const { return sum_of(found(at(v).args[0].first)); }
  static std::optional<Remainder> remainder(Sum rest, const mpq_class& times, Sum of);
  std::optional<Remainder> remainder(const Sum& sum) const;
  std::optional<Bit> compare_remainder(const Sum& d, bool equality);
  RemainderRange range(const Remainder& r) const;
  std::optional<mpz_class> floor_of_remainder(const Sum& sum) const;

  // term_values_lemmas.cpp
  struct LemmaList {
    std::vector<BitProof::Lemma> lemmas;
    std::set<std::pair<BitGraph::Node, BitGraph::Node>> done, done_pairs;
  };
  bool holds(Bit goal);
  void add_lemmas(const std::vector<BitGraph::Node>& variables, LemmaList& list);
  Bit equal_arguments(const Thing& a, const Thing& b);
  void add_congruence(BitGraph::Node equality, LemmaList& list);
  void add_congruence(BitGraph::Node a, BitGraph::Node b, LemmaList& list);
  void add_transitivity(BitGraph::Node a, BitGraph::Node b, LemmaList& list);
  Sum compared_sum(const Atom& says) const;
  void add_equivalence(Bit condition, BitGraph::Node a, Sum other, LemmaList& list);
  void add_exchanges(BitGraph::Node a, LemmaList& list);
  void add_factors(BitGraph::Node equation, LemmaList& list);
  void add_substitution(BitGraph::Node equation, BitGraph::Node a, LemmaList& list);
  void add_bounds(const std::vector<BitGraph::Node>& group, std::size_t i, std::size_t k, LemmaList& list);
  void add_step_of_bound(BitGraph::Node equation, BitGraph::Node bound, LemmaList& list);

  TraceTerms& terms_;
  QuantifierElimination quantifiers_;
  LiteralEvaluation evaluation_;
  BitGraph graph_;
  Words words_{graph_};
  BitProof proof_{graph_};
  static constexpr Value unknown = ~Value{0};
  std::vector<Value> values_;  // by term
  std::unordered_map<Id, Id> shown_, waiting_;
  std::deque<Thing> things_;
  mutable std::vector<Value> things_found_;  // what has been proved equal
  std::unordered_map<std::string, Value> known_things_;
  std::unordered_map<std::string, Word> known_words_;
  std::deque<Thing> applications_;  // that are words
  std::unordered_map<BitGraph::Node, std::pair<std::size_t, std::size_t>> application_bits_;
  std::unordered_map<std::string, Bit> known_bits_;
  std::map<Float, Float> exact_;  // what floating-point numbers are conversions of that changed nothing
  std::set<Word> integral_;       // floating-point numbers that have been rounded to integers
  std::unordered_map<std::string, std::size_t> forms_;
  std::vector<Sum> form_sums_;
  std::unordered_map<BitGraph::Node, Atom> atoms_;
  std::size_t budget_ = 0;  // of cases, for the present term
  std::size_t most_terms_ = ~std::size_t{0};
  std::size_t effort_left_ = 2'000'000;  // of summands and cases, for all proofs together
  std::size_t lemmas_left_ = 60'000;     // for all proofs together
  std::size_t num_lemmas_ = 0;
  std::size_t context_left_ = 20'000'000;  // of terms that are looked at in context
  std::set<std::pair<Id, Id>> not_proved_;
  bool exhausted_ = false;
};

}  // namespace quarv::cli
