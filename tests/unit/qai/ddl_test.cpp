// The database description as DDL: one statement a line.
#include "qai_assistant_properties.h"
#include "support/assertion_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const kFalse = "qai_assistant_properties: false";

QAIAssistantProperties recordOf(std::string json) {
  QAIAssistantProperties record;
  record.dbStructureJson = std::move(json);
  return record;
}

/// A description with one unnamed catalog and schema that holds `tables`.
std::string tables(const std::string& items) { return R"([{"schemas":[{"tables":[)" + items + "]}]}]"; }

struct DdlCase {
  const char* name;
  std::string json;
  std::string text;
  std::size_t assertions = 0;
};
void PrintTo(const DdlCase& row, std::ostream* out) { *out << row.name; }

class Ddl : public testing::TestWithParam<DdlCase> {};

TEST_P(Ddl, IsWrittenToTheByte) {
  const AssertionLog log;
  EXPECT_EQ(recordOf(GetParam().json).obtainDatabaseStructureText(), GetParam().text);
  EXPECT_EQ(log.all(), std::vector<std::string>(GetParam().assertions, kFalse));
}

std::string nameOf(const testing::TestParamInfo<DdlCase>& row) { return row.param.name; }

INSTANTIATE_TEST_SUITE_P(Unusable, Ddl,
                         testing::Values(DdlCase{"nothing", "", ""}, DdlCase{"object", "{}", ""},
                                         DdlCase{"empty_array", "[]", ""}, DdlCase{"broken", "[{", ""},
                                         DdlCase{"number", "7", ""}),
                         nameOf);

const char* const kExample = R"([
 {"catalog_name": "main",
  "schemas": [
   {"schema_name": "shop",
    "tables": [
     {"name": "customer",
      "fields": [{"name": "id", "type": "INTEGER"}, {"name": "email", "type": "TEXT"}],
      "pkeys": ["id"]},
     {"name": "orders",
      "fields": [{"name": "id", "type": "INTEGER"}, {"name": "customer_id", "type": "INTEGER"}],
      "pkeys": ["id"],
      "fkeys": [{"fields": ["customer_id"], "ref_schema": "shop", "ref_table": "customer", "ref_fields": ["id"]}]}],
    "views": [{"name": "recent", "fields": [{"name": "id", "type": "INTEGER"}]}]}]},
 {"schemas": [{"tables": [{"name": "log",
   "fields": [{"name": "ts", "type": "TIMESTAMP"}, {"name": "msg", "type": "TEXT"}],
   "pkeys": ["ts", "msg"]}]}]}
])";
const char* const kExampleText =
    "CREATE TABLE `log` (`ts` TIMESTAMP, `msg` TEXT, PRIMARY KEY(`ts``msg`))\n"
    "USE CATALOG `main`\n"
    "CREATE TABLE `shop`.`customer` (`id` INTEGER, `email` TEXT, PRIMARY KEY(`id`))\n"
    "CREATE TABLE `shop`.`orders` (`id` INTEGER, `customer_id` INTEGER, PRIMARY KEY(`id`), "
    "FOREIGN KEY(`customer_id`) REFERENCES `shop`.`customer`(`id`))\n"
    "CREATE VIEW `shop`.`recent` (`id` INTEGER)\n";

INSTANTIATE_TEST_SUITE_P(
    Whole, Ddl,
    testing::Values(
        DdlCase{"example", kExample, kExampleText},
        DdlCase{"empty_catalog_name_is_used_but_sorts_first",
                R"([{"catalog_name":"n","schemas":[]},{"catalog_name":"","schemas":[]},{"schemas":[]}])",
                "USE CATALOG ``\nUSE CATALOG `n`\n"},
        DdlCase{"groups_keep_their_order",
                R"([{"catalog_name":"b","schemas":[]},{"schemas":[{"tables":[{"name":"1","fields":[]}]}]},)"
                R"({"catalog_name":"a","schemas":[]},{"schemas":[{"tables":[{"name":"2","fields":[]}]}]}])",
                "CREATE TABLE `1` ()\nCREATE TABLE `2` ()\nUSE CATALOG `b`\nUSE CATALOG `a`\n"},
        DdlCase{"tables_then_views_then_materialized_views",
                R"([{"schemas":[{"mviews":[{"name":"m","fields":[]}],"views":[{"name":"v","fields":[]}],)"
                R"("tables":[{"name":"t","fields":[]}]}]}])",
                "CREATE TABLE `t` ()\nCREATE VIEW `v` ()\nCREATE MATERIALIZED VIEW `m` ()\n"},
        DdlCase{"empty_schema_name_qualifies_nothing",
                R"([{"schemas":[{"schema_name":"","tables":[{"name":"t","fields":[]}]}]}])", "CREATE TABLE `t` ()\n"},
        DdlCase{
            "unknown_keys_are_ignored",
            R"([{"x":1,"schemas":[{"y":[],"tables":[{"z":{},"name":"t","fields":[{"q":0,"name":"a","type":"B"}]}]}]}])",
            "CREATE TABLE `t` (`a` B)\n"}),
    nameOf);

// The last of repeated keys counts, whatever stands between them.
INSTANTIATE_TEST_SUITE_P(
    RepeatedKeys, Ddl,
    testing::Values(
        DdlCase{
            "in_a_catalog",
            R"([{"catalog_name":1,"schemas":5,"schemas":[{"tables":[{"name":"t","fields":[]}]}],"catalog_name":"c"}])",
            "USE CATALOG `c`\nCREATE TABLE `t` ()\n"},
        DdlCase{"in_a_schema",
                R"([{"schemas":[{"schema_name":[],"tables":[5,{}],"tables":[{"name":"t","fields":[]}],)"
                R"("schema_name":"s"}]}])",
                "CREATE TABLE `s`.`t` ()\n"},
        DdlCase{"in_a_table",
                tables(R"({"name":1,"fields":5,"fields":[{"name":"x"}],"pkeys":{},"name":"t","pkeys":["k"],)"
                       R"("fields":[{"type":1,"name":2,"type":"T","name":"a"}]})"),
                "CREATE TABLE `t` (`a` T, PRIMARY KEY(`k`))\n"},
        DdlCase{"in_a_foreign_key",
                tables(R"({"name":"t","fields":[{"name":"a","type":"T"}],"fkeys":[{"ref_table":1,"fields":["x"],)"
                       R"("ref_fields":[1],"ref_fields":["b"],"fields":["a"],"ref_table":"r"}]})"),
                "CREATE TABLE `t` (`a` T, FOREIGN KEY(`a`) REFERENCES `r`(`b`))\n"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Elsewhere, Ddl,
    testing::Values(
        DdlCase{"what_is_as_deep_as_a_table_is_no_table",
                R"([{"schemas":[{"x":[{"name":"t","fields":[]},{}],"tables":[]}],"y":[{"tables":[{}]}]}])", ""},
        DdlCase{"names_behind_the_tables",
                R"([{"schemas":[{"tables":[{"fields":[{"type":"T","name":"a"}],"name":"t"}],"schema_name":"s"}],)"
                R"("catalog_name":"c"}])",
                "USE CATALOG `c`\nCREATE TABLE `s`.`t` (`a` T)\n"},
        DdlCase{"numbers_beyond_a_double",
                R"([{"schemas":[{"tables":[{"name":"t","fields":[]},{"x":1e400,"name":"u","fields":[]}]}]}])",
                "CREATE TABLE `t` ()\nCREATE TABLE `u` ()\n"},
        DdlCase{"escapes", R"([{"schemas":[{"tables":[{"n\u0061me":"t\u00e9\n","fields":[]}]}]}])",
                "CREATE TABLE `t\xC3\xA9\n` ()\n"},
        DdlCase{"broken_behind_a_broken_table", R"([{"schemas":[{"tables":[{}]}]},)", ""},
        DdlCase{"broken_table_in_a_broken_schema", R"([{"schemas":[{"tables":[{},{}],"views":1},{"tables":[{}]}]}])",
                "\n", 2}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Object, Ddl,
    testing::Values(
        DdlCase{"no_fields_no_keys", tables(R"({"name":"t","fields":[],"pkeys":["id"],"fkeys":[{}]})"),
                "CREATE TABLE `t` ()\n"},
        DdlCase{"type_is_written_unchanged",
                tables(R"({"name":"t","fields":[{"name":"a","type":" DECIMAL(10, 2)\tNOT NULL"}]})"),
                "CREATE TABLE `t` (`a`  DECIMAL(10, 2)\tNOT NULL)\n"},
        DdlCase{"empty_type", tables(R"({"name":"t","fields":[{"name":"a","type":""}]})"), "CREATE TABLE `t` (`a` )\n"},
        DdlCase{"identifiers_are_not_escaped",
                tables(R"({"name":"a`b","fields":[{"name":"\"c\\\nd","type":"T"}],"pkeys":["`"]})"),
                "CREATE TABLE `a`b` (`\"c\\\nd` T, PRIMARY KEY(```))\n"},
        DdlCase{"key_columns_stand_without_separator",
                tables(R"({"name":"t","fields":[{"name":"a","type":"T"}],"pkeys":["a","b","c"]})"),
                "CREATE TABLE `t` (`a` T, PRIMARY KEY(`a``b``c`))\n"},
        DdlCase{"no_primary_key_when_its_list_is_empty",
                tables(R"({"name":"t","fields":[{"name":"a","type":"T"}],"pkeys":[]})"), "CREATE TABLE `t` (`a` T)\n"},
        DdlCase{"foreign_key_of_two_columns",
                tables(R"({"name":"t","fields":[{"name":"a","type":"T"}],)"
                       R"("fkeys":[{"fields":["a","b"],"ref_table":"r","ref_fields":["c","d"]}]})"),
                "CREATE TABLE `t` (`a` T, FOREIGN KEY(`a``b`) REFERENCES `r`(`c``d`))\n"},
        DdlCase{"foreign_key_with_empty_schema",
                tables(R"({"name":"t","fields":[{"name":"a","type":"T"}],)"
                       R"("fkeys":[{"fields":["a"],"ref_schema":"","ref_table":"t","ref_fields":["b"]}]})"),
                "CREATE TABLE `t` (`a` T, FOREIGN KEY(`a`) REFERENCES ``.`t`(`b`))\n"},
        DdlCase{"foreign_key_without_columns_writes_nothing",
                tables(R"({"name":"t","fields":[{"name":"a","type":"T"}],)"
                       R"("fkeys":[{"fields":[],"ref_table":"t","ref_fields":["b"]},)"
                       R"({"fields":["a"],"ref_table":"t","ref_fields":[]}]})"),
                "CREATE TABLE `t` (`a` T)\n"},
        DdlCase{"two_foreign_keys",
                tables(R"({"name":"t","fields":[{"name":"a","type":"T"}],"pkeys":["a"],)"
                       R"("fkeys":[{"fields":["a"],"ref_table":"r","ref_fields":["b"]},)"
                       R"({"fields":["a"],"ref_table":"s","ref_fields":["b"]}]})"),
                "CREATE TABLE `t` (`a` T, PRIMARY KEY(`a`), FOREIGN KEY(`a`) REFERENCES `r`(`b`), "
                "FOREIGN KEY(`a`) REFERENCES `s`(`b`))\n"}),
    nameOf);

const std::string kGood = R"({"name":"g","fields":[]})";
const std::string kGoodText = "CREATE TABLE `g` ()\n";

/// A table that can't be used becomes an empty line; its neighbours stay.
DdlCase brokenTable(const char* name, const std::string& table) {
  return {name, tables(kGood + "," + table + "," + kGood), kGoodText + "\n" + kGoodText, 1};
}

/// A table whose `member` (with a comma in front) can't be used.
DdlCase brokenMember(const char* name, const std::string& member) {
  return brokenTable(name, R"({"name":"t","fields":[{"name":"a","type":"T"}])" + member + "}");
}

INSTANTIATE_TEST_SUITE_P(
    BrokenObject, Ddl,
    testing::Values(
        brokenTable("no_object", "5"), brokenTable("null", "null"), brokenTable("no_name", R"({"fields":[]})"),
        brokenTable("name_is_a_number", R"({"name":1,"fields":[]})"), brokenTable("no_fields", R"({"name":"t"})"),
        brokenTable("fields_is_an_object", R"({"name":"t","fields":{}})"),
        brokenTable("field_is_no_object", R"({"name":"t","fields":["a"]})"),
        brokenTable("field_without_name", R"({"name":"t","fields":[{"type":"T"}]})"),
        brokenTable("field_type_is_a_number",
                    R"({"name":"t","fields":[{"name":"a","type":"T"},{"name":"b","type":4}]})"),
        brokenMember("pkeys_is_a_string", R"(,"pkeys":"a")"), brokenMember("pkeys_is_null", R"(,"pkeys":null)"),
        brokenMember("primary_key_is_a_number", R"(,"pkeys":["a",1])"),
        brokenMember("fkeys_is_an_object", R"(,"fkeys":{})"),
        brokenMember("foreign_key_is_no_object", R"(,"fkeys":[1])"),
        brokenMember("foreign_key_without_fields", R"(,"fkeys":[{"ref_table":"r","ref_fields":["b"]}])"),
        brokenMember("foreign_key_without_table", R"(,"fkeys":[{"fields":["a"],"ref_fields":["b"]}])"),
        brokenMember("foreign_key_without_ref_fields", R"(,"fkeys":[{"fields":["a"],"ref_table":"r"}])"),
        brokenMember("ref_schema_is_null",
                     R"(,"fkeys":[{"fields":["a"],"ref_schema":null,"ref_table":"r","ref_fields":["b"]}])"),
        brokenMember("local_column_is_a_number", R"(,"fkeys":[{"fields":[1],"ref_table":"r","ref_fields":["b"]}])"),
        brokenMember("referenced_column_is_a_number",
                     R"(,"fkeys":[{"fields":["a"],"ref_table":"r","ref_fields":[{}]}])")),
    nameOf);

/// A schema or catalog that can't be used is dropped with all under it; its neighbours stay.
DdlCase brokenSchema(const char* name, const std::string& schema) {
  return {name, R"([{"schemas":[)" + schema + R"(,{"tables":[)" + kGood + "]}]}]", kGoodText, 1};
}
DdlCase brokenCatalog(const char* name, const std::string& catalog) {
  return {name, "[" + catalog + "," + tables(kGood).substr(1), kGoodText, 1};
}

INSTANTIATE_TEST_SUITE_P(
    BrokenContainer, Ddl,
    testing::Values(brokenSchema("schema_is_no_object", "1"),
                    brokenSchema("schema_id_is_a_number", R"({"schema_id":1})"),
                    brokenSchema("schema_name_is_null", R"({"schema_name":null,"tables":[{"name":"t","fields":[]}]})"),
                    brokenSchema("tables_is_an_object", R"({"tables":{}})"),
                    brokenSchema("views_is_an_object", R"({"tables":[{"name":"t","fields":[]}],"views":{}})"),
                    brokenSchema("mviews_is_null", R"({"mviews":null})"),
                    brokenCatalog("catalog_is_no_object", "\"c\""),
                    brokenCatalog("catalog_id_is_a_number", R"({"catalog_id":1,"schemas":[]})"),
                    brokenCatalog("catalog_name_is_a_list", R"({"catalog_name":[],"schemas":[]})"),
                    brokenCatalog("no_schemas", R"({"catalog_name":"c"})"),
                    brokenCatalog("schemas_is_an_object", R"({"schemas":{}})")),
    nameOf);

TEST(DatabaseStructure, AnnotatesCatalogsAndSchemasWithTheirStatements) {
  const CMVariantList catalogs = recordOf(kExample).obtainDatabaseStructure();
  ASSERT_EQ(catalogs.size(), 2U);
  const CMVariantMap& unnamed = catalogs[0].mapValue();
  EXPECT_EQ(unnamed.count("catalog_name") + unnamed.count("catalog_id"), 0U);
  EXPECT_TRUE(unnamed.at("instructions").listRef().empty());
  const CMVariantMap& main = catalogs[1].mapValue();
  EXPECT_EQ(main.at("catalog_name").stringValue(), "main");
  ASSERT_EQ(main.at("instructions").listRef().size(), 1U);
  EXPECT_EQ(main.at("instructions").listRef()[0].stringValue(), "USE CATALOG `main`");
  ASSERT_EQ(main.at("schemas").listRef().size(), 1U);
  const CMVariantMap& shop = main.at("schemas").listRef()[0].mapValue();
  EXPECT_EQ(shop.at("schema_name").stringValue(), "shop");
  EXPECT_EQ(shop.count("schema_id"), 0U);
  ASSERT_EQ(shop.at("instructions").listRef().size(), 3U);
  EXPECT_EQ(shop.at("instructions").listRef()[2].stringValue(), "CREATE VIEW `shop`.`recent` (`id` INTEGER)");
}

TEST(DatabaseStructure, CopiesIdsAndKeepsThePlaceOfABrokenStatement) {
  const AssertionLog log;
  const CMVariantList catalogs =
      recordOf(R"([{"catalog_id":"c1","schemas":[{"schema_id":"s1","tables":[{},)" + kGood + "]}]}]")
          .obtainDatabaseStructure();
  ASSERT_EQ(catalogs.size(), 1U);
  EXPECT_EQ(catalogs[0].mapValue().at("catalog_id").stringValue(), "c1");
  const CMVariantMap& schema = catalogs[0].mapValue().at("schemas").listRef().at(0).mapValue();
  EXPECT_EQ(schema.at("schema_id").stringValue(), "s1");
  ASSERT_EQ(schema.at("instructions").listRef().size(), 2U);
  EXPECT_EQ(schema.at("instructions").listRef()[0].stringValue(), "");
  EXPECT_THAT(log.all(), ElementsAre(kFalse));
}

TEST(DatabaseStructure, UnusableTextGivesAnEmptyList) {
  for (const char* text : {"", "{}", "[]", "[{", "null"}) {
    EXPECT_THAT(recordOf(text).obtainDatabaseStructure(), IsEmpty()) << text;
  }
}

TEST(DatabaseStructure, IsWhatThePropertyReads) {
  const CMVariant value = recordOf(kExample).obtainProperty("db_structure");
  EXPECT_EQ(value.getValueType(), CMVariant::ValueType::List);
  EXPECT_EQ(value.listRef().size(), 2U);
}

TEST(ObjectStatement, TakesItsKindAndSchemaFromTheCaller) {
  const COJson object(R"({"name":"t","fields":[{"name":"a","type":"T"}]})");
  EXPECT_EQ(QAIAssistantProperties::makeObjectStatement("MATERIALIZED VIEW", "s", &object),
            "CREATE MATERIALIZED VIEW `s`.`t` (`a` T)");
}

TEST(ObjectStatement, WithoutAnObjectIsEmpty) {
  const AssertionLog log;
  EXPECT_EQ(QAIAssistantProperties::makeObjectStatement("TABLE", "", nullptr), "");
  EXPECT_THAT(log.all(), ElementsAre(kFalse));
}

TEST(ObjectStatement, AssertionNamesTheLineOfItsCheck) {
  const AssertionLog log;
  const COJson noName("{}");
  const COJson badField(R"({"name":"t","fields":[1]})");
  QAIAssistantProperties::makeObjectStatement("TABLE", "", &noName);
  const int first = log.lastLine();
  QAIAssistantProperties::makeObjectStatement("TABLE", "", &badField);
  EXPECT_NE(log.lastLine(), first);
}

/// The checks of a description, in the order in which they fail there.
TEST(Ddl, EveryCheckRaisesALineOfItsOwnInTheOrderOfTheDescription) {
  const auto linesOf = [](const std::string& json) {
    const AssertionLog log;
    recordOf(json).obtainDatabaseStructureText();
    return log.lines();
  };
  const std::string object = "5";
  const std::string field = R"({"name":"t","fields":[1]})";
  const std::string column = R"({"name":"t","fields":[{"name":"a","type":"T"}],"pkeys":[1]})";
  const std::string key = R"({"name":"t","fields":[{"name":"a","type":"T"}],"fkeys":[1]})";
  const std::string schema = "1";
  const auto one = [](const std::vector<int>& lines) { return lines.size() == 1 ? lines.front() : 0; };
  const std::string keyColumn =
      R"({"name":"t","fields":[{"name":"a","type":"T"}],"fkeys":[{"fields":["a"],"ref_table":"r","ref_fields":[1]}]})";
  std::vector<int> expected;
  for (const std::string& table : {field, object, key, keyColumn, column}) {
    expected.push_back(one(linesOf(tables(table))));
  }
  expected.push_back(one(linesOf(R"([{"schemas":[1]}])")));
  expected.push_back(one(linesOf("[5]")));
  EXPECT_EQ(std::set<int>(expected.begin(), expected.end()).size(), 7U);
  EXPECT_THAT(expected, testing::Each(testing::Gt(0)));
  EXPECT_EQ(linesOf(R"([{"schemas":[{"views":[)" + column + R"(],"tables":[)" + field + "," + object + "," + key + "," +
                    keyColumn + "]},1]},5]"),
            expected);
}

}  // namespace
