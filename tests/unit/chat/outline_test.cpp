#include "outline.h"

#include <gtest/gtest.h>

namespace {

TEST(Outline, NamesTablesThenViewsWithWhatTheirColumnsAre) {
  const std::vector<TableOutline> tables = outlineTables(
      {.schemas =
           {{.name = "",
             .tables = {{.name = "lines",
                         .columns = {{.name = "order_id", .type = "INTEGER"}, {.name = "note", .type = ""}},
                         .primaryKey = {"order_id"},
                         .foreignKeys = {{.columns = {"order_id"}, .targetTable = "orders", .targetColumns = {}}}}},
             .views = {{.name = "totals", .columns = {}, .primaryKey = {}, .foreignKeys = {}}}}},
       .notes = {}});
  ASSERT_EQ(tables.size(), 2U);
  EXPECT_EQ(tables[0].name, "lines");
  EXPECT_FALSE(tables[0].isView);
  ASSERT_EQ(tables[0].columns.size(), 2U);
  EXPECT_EQ(tables[0].columns[0].about, "INTEGER, primary key, refers to orders");
  EXPECT_EQ(tables[0].columns[1].about, "");
  EXPECT_EQ(tables[1].name, "totals");
  EXPECT_TRUE(tables[1].isView);
}

TEST(Outline, NamesTheSchemaWhereThereIsOne) {
  const std::vector<TableOutline> tables =
      outlineTables({.schemas = {{.name = "sales",
                                  .tables = {{.name = "orders", .columns = {}, .primaryKey = {}, .foreignKeys = {}}},
                                  .views = {}}},
                     .notes = {}});
  ASSERT_EQ(tables.size(), 1U);
  EXPECT_EQ(tables[0].name, "sales.orders");
}

}  // namespace
