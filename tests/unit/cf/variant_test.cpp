#include <cf/variant.h>

#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace {

using ValueType = CMVariant::ValueType;

struct TypeCase {
  const char* name;
  CMVariant value;
  ValueType type;
  std::string text;
  double number;
  std::size_t listSize;
  std::size_t mapSize;
};

class Variant : public testing::TestWithParam<TypeCase> {};

TEST_P(Variant, ReadsAsEveryType) {
  const TypeCase& expected = GetParam();
  EXPECT_EQ(expected.value.getValueType(), expected.type);
  EXPECT_EQ(expected.value.isNull(), expected.type == ValueType::Null);
  EXPECT_EQ(expected.value.stringValue(), expected.text);
  EXPECT_EQ(expected.value.stringRef(), expected.type == ValueType::String ? expected.text : "");
  EXPECT_EQ(expected.value.doubleValue(), expected.number);
  EXPECT_EQ(expected.value.listRef().size(), expected.listSize);
  EXPECT_EQ(expected.value.mapValue().size(), expected.mapSize);
}

TEST_P(Variant, IsCopiedWhole) {
  const CMVariant copy(GetParam().value);  // NOLINT(performance-unnecessary-copy-initialization): the copy is tested
  EXPECT_EQ(copy.getValueType(), GetParam().type);
  EXPECT_EQ(copy.stringValue(), GetParam().text);
  EXPECT_EQ(copy.listRef().size(), GetParam().listSize);
  EXPECT_EQ(copy.mapValue().size(), GetParam().mapSize);
}

TEST_P(Variant, IsNullOnceMovedFrom) {
  CMVariant source(GetParam().value);
  const CMVariant taken(std::move(source));
  EXPECT_TRUE(source.isNull());  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move): what is promised
  EXPECT_EQ(taken.stringValue(), GetParam().text);
  CMVariant assigned("before");
  source = taken;
  assigned = std::move(source);
  EXPECT_TRUE(source.isNull());  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move): what is promised
  EXPECT_EQ(assigned.getValueType(), GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(Types, Variant,
                         testing::Values(TypeCase{"null", {}, ValueType::Null, "", 0.0, 0, 0},
                                         TypeCase{"text", "abc", ValueType::String, "abc", 0.0, 0, 0},
                                         TypeCase{"null_pointer", static_cast<const char*>(nullptr), ValueType::String,
                                                  "", 0.0, 0, 0},
                                         TypeCase{"numeric_text", " \n0.7\t", ValueType::String, " \n0.7\t", 0.7, 0, 0},
                                         TypeCase{"text_with_plus", "+2", ValueType::String, "+2", 2.0, 0, 0},
                                         TypeCase{"text_with_comma", "0,7", ValueType::String, "0,7", 0.0, 0, 0},
                                         TypeCase{"number_then_text", "1 x", ValueType::String, "1 x", 0.0, 0, 0},
                                         TypeCase{"text_too_large", "1e999", ValueType::String, "1e999",
                                                  std::numeric_limits<double>::max(), 0, 0},
                                         TypeCase{"fraction", 0.7, ValueType::Double, "0.7", 0.7, 0, 0},
                                         TypeCase{"whole", 2.0, ValueType::Double, "2", 2.0, 0, 0},
                                         TypeCase{"list", CMVariantList{"a", 1.0}, ValueType::List, "", 0.0, 2, 0},
                                         TypeCase{"empty_list", CMVariantList{}, ValueType::List, "", 0.0, 0, 0},
                                         TypeCase{"map", CMVariantMap{{"a", 1.0}}, ValueType::Map, "", 0.0, 0, 1},
                                         TypeCase{"empty_map", CMVariantMap{}, ValueType::Map, "", 0.0, 0, 0}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(VariantType, HasTheCodesOfTheBoundary) {
  EXPECT_EQ(static_cast<int>(ValueType::Null), 0);
  EXPECT_EQ(static_cast<int>(ValueType::String), 1);
  EXPECT_EQ(static_cast<int>(ValueType::Double), 5);
  EXPECT_EQ(static_cast<int>(ValueType::List), 6);
  EXPECT_EQ(static_cast<int>(ValueType::Map), 7);
}

TEST(VariantCopy, SharesNothingWithItsSource) {
  CMVariant source(CMVariantList{CMVariantMap{{"key", "value"}}});
  const CMVariant copy(source);
  source = 1.0;
  ASSERT_EQ(copy.listRef().size(), 1U);
  EXPECT_EQ(copy.listRef()[0].mapValue().at("key").stringRef(), "value");
}

TEST(VariantAssignment, ToItselfChangesNothing) {
  CMVariant value(CMVariantList{"a", "b"});
  const CMVariant& same = value;
  value = same;
  ASSERT_EQ(value.listRef().size(), 2U);
  CMVariant& alias = value;
  value = std::move(alias);
  ASSERT_EQ(value.listRef().size(), 2U);
  EXPECT_EQ(value.listRef()[1].stringRef(), "b");
}

TEST(VariantAssignment, OfItsOwnPartKeepsThePart) {
  CMVariant value(CMVariantList{CMVariantMap{{"key", CMVariantList{"inner"}}}});
  value = value.listRef()[0];
  value = value.mapValue().at("key");
  value = value.listRef()[0];
  EXPECT_EQ(value.stringRef(), "inner");
}

TEST(VariantMap, IsOrderedByBytes) {
  const CMVariant value(CMVariantMap{{"b", 1.0}, {"B", 2.0}, {"\xC3\xA9", 3.0}, {"a", 4.0}});
  std::string order;
  for (const auto& [name, member] : value.mapValue()) order += name + member.stringValue();
  EXPECT_EQ(order, "B2a4b1\xC3\xA9\x33");
}

}  // namespace
