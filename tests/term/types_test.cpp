// Types: interning, components, widths, formats, supertypes, text.
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

class Types : public ::testing::Test {
 protected:
  static std::uint64_t first_word(const void* record) {
    std::uint64_t word;
    std::memcpy(&word, record, sizeof word);
    return word;
  }

  std::vector<const DataType*> basic_types() {
    return {mgr.bool_type,       mgr.int_type,     mgr.rat_type,    mgr.rounding_mode_type,
            mgr.array_type_ctor, mgr.bv_type_ctor, mgr.fp_type_ctor};
  }

  TermManager mgr;
};

TEST_F(Types, RationalAndIntegerTypeAreAPair) {
  EXPECT_EQ(&mgr.rat_type + 1, &mgr.int_type);
}

TEST_F(Types, TheFirstWordIsZeroExactlyForConstructedTypes) {
  for (const DataType* t : basic_types()) {
    EXPECT_NE(first_word(t), 0U) << t->to_string();
    EXPECT_FALSE(t->is_constructed());
  }
  EXPECT_NE(first_word(mgr.declare_sort("U")), 0U);
  for (const DataType* t :
       {mgr.get_bv_type(8), mgr.get_fp_type(5, 10), mgr.get_array_type(mgr.int_type, mgr.int_type)}) {
    EXPECT_EQ(first_word(t), 0U) << t->to_string();
    EXPECT_TRUE(t->is_constructed());
    EXPECT_EQ(reinterpret_cast<const char*>(&t->components), reinterpret_cast<const char*>(t) + 8);
  }
}

TEST_F(Types, OneObjectForEachType) {
  EXPECT_EQ(mgr.get_bv_type(8), mgr.get_bv_type(8));
  EXPECT_NE(mgr.get_bv_type(8), mgr.get_bv_type(9));
  EXPECT_EQ(mgr.get_fp_type(5, 10), mgr.get_fp_type(5, 10));
  EXPECT_NE(mgr.get_fp_type(5, 10), mgr.get_fp_type(10, 5));
  EXPECT_EQ(mgr.get_array_type(mgr.int_type, mgr.rat_type), mgr.get_array_type(mgr.int_type, mgr.rat_type));
  EXPECT_NE(mgr.get_array_type(mgr.int_type, mgr.rat_type), mgr.get_array_type(mgr.rat_type, mgr.int_type));
  EXPECT_EQ(mgr.declare_sort("U"), mgr.declare_sort("U"));
  EXPECT_NE(mgr.declare_sort("U"), mgr.declare_sort("V"));
  EXPECT_NE(mgr.declare_sort("U"), mgr.declare_sort("U", 1));
  const DataType* list = mgr.declare_sort("List", 1);
  const DataType* const of_int[] = {mgr.int_type};
  EXPECT_EQ(mgr.apply_sort(list, of_int), mgr.apply_sort(list, of_int));
  EXPECT_EQ(mgr.apply_sort(mgr.declare_sort("U"), {}), mgr.declare_sort("U"));
}

TEST_F(Types, Components) {
  const DataType* bv = mgr.get_bv_type(8);
  ASSERT_EQ(bv->components.size(), 2U);
  EXPECT_EQ(bv->get_component(0), mgr.bv_type_ctor);
  const DataType* fp = mgr.get_fp_type(5, 10);
  ASSERT_EQ(fp->components.size(), 2U);
  EXPECT_EQ(fp->get_component(0), mgr.fp_type_ctor);
  const DataType* array = mgr.get_array_type(bv, fp);
  ASSERT_EQ(array->components.size(), 3U);
  EXPECT_EQ(array->get_component(0), mgr.array_type_ctor);
  EXPECT_EQ(array->get_component(1), bv);
  EXPECT_EQ(array->get_component(2), fp);
}

TEST_F(Types, Classification) {
  const DataType* bv = mgr.get_bv_type(8);
  const DataType* fp = mgr.get_fp_type(5, 10);
  const DataType* array = mgr.get_array_type(bv, fp);
  std::vector<const DataType*> all = basic_types();
  all.insert(all.end(), {bv, fp, array, bv->get_component(1), fp->get_component(1), mgr.declare_sort("U")});
  for (const DataType* t : all) {
    SCOPED_TRACE(t->to_string());
    EXPECT_EQ(mgr.is_bv_type(t), t == bv);
    EXPECT_EQ(mgr.is_fp_type(t), t == fp);
    EXPECT_EQ(mgr.is_array_type(t), t == array);
    EXPECT_EQ(mgr.is_arithmetic_type(t), t == mgr.int_type || t == mgr.rat_type);
  }
}

TEST_F(Types, ABasicTypeIsNeverTakenForAConstructedOne) {
  auto* sort = const_cast<DataType*>(mgr.declare_sort("Pretender"));
  for (const DataType* ctor : {mgr.bv_type_ctor, mgr.fp_type_ctor, mgr.array_type_ctor}) {
    for (std::size_t n : {2, 3}) {
      sort->components.assign(n, mgr.int_type);
      sort->components[0] = ctor;
      EXPECT_FALSE(mgr.is_bv_type(sort));
      EXPECT_FALSE(mgr.is_fp_type(sort));
      EXPECT_FALSE(mgr.is_array_type(sort));
    }
  }
}

TEST_F(Types, TheNumberOfComponentsCounts) {
  const DataType* const one[] = {mgr.get_bv_type(8)->get_component(1)};
  const DataType* const two[] = {one[0], one[0]};
  EXPECT_FALSE(mgr.is_bv_type(mgr.apply_sort(mgr.bv_type_ctor, two)));
  EXPECT_FALSE(mgr.is_fp_type(mgr.apply_sort(mgr.fp_type_ctor, two)));
  EXPECT_FALSE(mgr.is_array_type(mgr.apply_sort(mgr.array_type_ctor, one)));
}

TEST_F(Types, Widths) {
  for (std::size_t w : {1, 8, 63, 64, 65, 100000}) {
    const DataType* t = mgr.get_bv_type(w);
    EXPECT_EQ(mgr.get_width_from_type(t), w);
    EXPECT_EQ(mgr.get_width_from_type(t->get_component(1)), w) << "the width component";
  }
  for (const DataType* t : basic_types()) EXPECT_EQ(mgr.get_width_from_type(t), 0U);
  EXPECT_EQ(mgr.get_width_from_type(mgr.get_fp_type(5, 10)), 0U);
  EXPECT_EQ(mgr.get_width_from_type(mgr.get_array_type(mgr.int_type, mgr.get_bv_type(8))), 0U);
}

TEST_F(Types, Formats) {
  const DataType* t = mgr.get_fp_type(11, 52);
  for (const DataType* of : {t, t->get_component(1)}) {
    std::size_t ew = 0;
    std::size_t mw = 0;
    EXPECT_TRUE(mgr.get_format_from_type(of, &ew, &mw));
    EXPECT_EQ(ew, 11U);
    EXPECT_EQ(mw, 52U);
  }
  std::size_t ew = 7;
  std::size_t mw = 7;
  EXPECT_FALSE(mgr.get_format_from_type(mgr.get_bv_type(64), &ew, &mw));
  EXPECT_FALSE(mgr.get_format_from_type(mgr.int_type, &ew, &mw));
  EXPECT_EQ(ew, 7U);
}

TEST_F(Types, Supertypes) {
  EXPECT_EQ(mgr.get_supertype(mgr.int_type, mgr.int_type), mgr.int_type);
  EXPECT_EQ(mgr.get_supertype(mgr.int_type, mgr.rat_type), mgr.rat_type);
  EXPECT_EQ(mgr.get_supertype(mgr.rat_type, mgr.int_type), mgr.rat_type);
  EXPECT_EQ(mgr.get_supertype(mgr.rat_type, mgr.rat_type), mgr.rat_type);
  EXPECT_EQ(mgr.get_supertype(mgr.bool_type, mgr.bool_type), mgr.bool_type);
  EXPECT_EQ(mgr.get_supertype(mgr.bool_type, mgr.int_type), nullptr);
  EXPECT_EQ(mgr.get_supertype(mgr.get_bv_type(8), mgr.get_bv_type(9)), nullptr);
  const DataType* ints = mgr.get_array_type(mgr.int_type, mgr.int_type);
  const DataType* rats = mgr.get_array_type(mgr.int_type, mgr.rat_type);
  EXPECT_EQ(mgr.get_supertype(ints, ints), ints);
  EXPECT_EQ(mgr.get_supertype(ints, rats), nullptr) << "array types do not inherit the subtype relation";
}

TEST_F(Types, Text) {
  EXPECT_EQ(mgr.bool_type->to_string(), "Bool");
  EXPECT_EQ(mgr.int_type->to_string(), "Int");
  EXPECT_EQ(mgr.rat_type->to_string(), "Real");
  EXPECT_EQ(mgr.rounding_mode_type->to_string(), "RoundingMode");
  EXPECT_EQ(mgr.get_bv_type(8)->to_string(), "(_ BitVec 8)");
  EXPECT_EQ(mgr.get_fp_type(5, 10)->to_string(), "(_ FloatingPoint 5 11)");
  EXPECT_EQ(mgr.get_array_type(mgr.get_bv_type(2), mgr.bool_type)->to_string(), "(Array (_ BitVec 2) Bool)");
  const DataType* pair = mgr.declare_sort("Pair", 2);
  const DataType* const parameters[] = {mgr.int_type, mgr.get_bv_type(1)};
  EXPECT_EQ(mgr.apply_sort(pair, parameters)->to_string(), "(Pair Int (_ BitVec 1))");
}

TEST_F(Types, DeepTypesPrintWithoutRecursion) {
  constexpr std::size_t depth = 100000;
  const DataType* right = mgr.int_type;
  const DataType* left = mgr.int_type;
  for (std::size_t i = 0; i < depth; ++i) {
    right = mgr.get_array_type(mgr.int_type, right);
    left = mgr.get_array_type(left, mgr.int_type);
  }
  EXPECT_EQ(right->tree_size(), 2 * depth + 1) << "a level adds itself and an index";
  for (const DataType* t : {right, left}) {
    const std::string cut = t->abbreviated();
    EXPECT_GE(cut.size(), 200U);
    EXPECT_LT(cut.size(), 230U);
    EXPECT_EQ(cut.substr(cut.size() - 3), "...");
    const std::string whole = t->to_string();
    EXPECT_EQ(whole.size(), depth * std::string("(Array Int )").size() + 3);
  }
  EXPECT_EQ(right->to_string(10), "(Array Int (...");
}

TEST_F(Types, SharedTypesSaturateTheirSize) {
  const DataType* t = mgr.int_type;
  for (int i = 0; i < 200; ++i) t = mgr.get_array_type(t, t);
  EXPECT_EQ(t->tree_size(), std::numeric_limits<std::uint64_t>::max());
  EXPECT_LT(t->abbreviated().size(), 230U);
}

}  // namespace
}  // namespace quarv
