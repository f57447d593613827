#include "ddl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using standin::readSchema;
using standin::RelationKind;
using testing::ElementsAre;

std::vector<std::string> columnsOf(const standin::Relation& relation) {
  std::vector<std::string> columns;
  for (const standin::Column& column : relation.columns) columns.push_back(column.name + ":" + column.type);
  return columns;
}

TEST(Ddl, ReadsNamesTypesAndKeys) {
  const standin::Schema schema = readSchema(
      "CREATE TABLE `s`.`t` (`a` INTEGER, `b x` DECIMAL(10,2), `c` ENUM('x, y)', 'z'), PRIMARY KEY(`a``b x`), "
      "FOREIGN KEY(`a``c`) REFERENCES `r`.`o`(`i``j`), FOREIGN KEY(`b x`) REFERENCES `p`(`k`))\n");
  ASSERT_EQ(schema.size(), 1U);
  EXPECT_EQ(schema[0].kind, RelationKind::Table);
  EXPECT_EQ(schema[0].schema, "s");
  EXPECT_EQ(schema[0].name, "t");
  EXPECT_THAT(columnsOf(schema[0]), ElementsAre("a:INTEGER", "b x:DECIMAL(10,2)", "c:ENUM('x, y)', 'z')"));
  EXPECT_THAT(schema[0].primaryKey, ElementsAre("a", "b x"));
  ASSERT_EQ(schema[0].foreignKeys.size(), 2U);
  EXPECT_THAT(schema[0].foreignKeys[0].columns, ElementsAre("a", "c"));
  EXPECT_EQ(schema[0].foreignKeys[0].schema, "r");
  EXPECT_EQ(schema[0].foreignKeys[0].table, "o");
  EXPECT_THAT(schema[0].foreignKeys[0].referenced, ElementsAre("i", "j"));
  EXPECT_EQ(schema[0].foreignKeys[1].schema, "");
  EXPECT_EQ(schema[0].foreignKeys[1].table, "p");
}

TEST(Ddl, KnowsViewsAndCatalogs) {
  const standin::Schema schema = readSchema(
      "Be brief.\n\nCREATE TABLE `t` (`a` INT)\nUSE CATALOG `c`\nCREATE VIEW `v` (`n` )\n"
      "CREATE MATERIALIZED VIEW `m` ()\n");
  ASSERT_EQ(schema.size(), 3U);
  EXPECT_EQ(schema[0].catalog, "");
  EXPECT_EQ(schema[1].kind, RelationKind::View);
  EXPECT_EQ(schema[1].catalog, "c");
  EXPECT_THAT(columnsOf(schema[1]), ElementsAre("n:"));
  EXPECT_EQ(schema[2].kind, RelationKind::MaterializedView);
  EXPECT_TRUE(schema[2].columns.empty());
}

TEST(Ddl, FollowsKeysWithinSchemaAndCatalog) {
  const standin::Schema schema = readSchema(
      "CREATE TABLE `s`.`o` (`i` INT)\nCREATE TABLE `r`.`o` (`i` INT)\n"
      "CREATE TABLE `s`.`t` (`a` INT, FOREIGN KEY(`a`) REFERENCES `o`(`i`), FOREIGN KEY(`a`) REFERENCES `r`.`o`(`i`), "
      "FOREIGN KEY(`a`) REFERENCES `gone`(`i`))\n");
  ASSERT_EQ(schema.size(), 3U);
  EXPECT_EQ(findReferenced(schema, schema[2], schema[2].foreignKeys[0]), &schema[0]);
  EXPECT_EQ(findReferenced(schema, schema[2], schema[2].foreignKeys[1]), &schema[1]);
  EXPECT_EQ(findReferenced(schema, schema[2], schema[2].foreignKeys[2]), nullptr);
}

class UnreadableDdl : public testing::TestWithParam<const char*> {};

TEST_P(UnreadableDdl, IsPassedOver) {
  const standin::Schema schema = readSchema(std::string(GetParam()) + "\nCREATE TABLE `good` (`a` INT)\n");
  ASSERT_EQ(schema.size(), 1U);
  EXPECT_EQ(schema[0].name, "good");
}

INSTANTIATE_TEST_SUITE_P(Lines, UnreadableDdl,
                         testing::Values("", "CREATE TABLE", "CREATE TABLE `", "CREATE TABLE `t",
                                         "CREATE TABLE t (a INT)", "CREATE TABLE `t` (", "CREATE TABLE `t` (`a`",
                                         "CREATE TABLE `t` (`a` INT", "CREATE TABLE `t` (`a` INT) x y, ",
                                         "CREATE TABLE `t` (`a` F(1", "DROP TABLE `t` (`a` INT)",
                                         "CREATE TABLE `t` (`a` INT, PRIMARY KEY())",
                                         "CREATE TABLE `t` (`a` INT, FOREIGN KEY(`a`) REFERENCES `o`)",
                                         "CREATE TABLE `we`ird` (`a` INT)", "USE CATALOG", "USE CATALOG `x"));

}  // namespace
