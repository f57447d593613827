#include "description.h"

#include <array>

namespace {

constexpr std::size_t kColumns = 20;

std::string quoted(const std::string& name) { return "\"" + name + "\""; }

std::string column(std::size_t index) { return "some_column_" + std::to_string(index); }

std::string makeTable(std::size_t index, std::size_t tables) {
  constexpr std::array kTypes{"INTEGER", "VARCHAR(255)", "TEXT", "TIMESTAMP", "DECIMAL(10, 2)", "BOOLEAN"};
  std::string text = R"({"name":)" + quoted("table_" + std::to_string(index)) + R"(,"fields":[)";
  for (std::size_t i = 0; i < kColumns; ++i) {
    text += (i > 0 ? "," : "") + (R"({"name":)" + quoted(column(i))) + R"(,"type":)" +
            quoted(kTypes[(index + i) % kTypes.size()]) + "}";
  }
  return text + R"(],"pkeys":["some_column_0"],"fkeys":[{"fields":["some_column_1"],"ref_schema":"public",)" +
         R"("ref_table":)" + quoted("table_" + std::to_string(index * 7 % tables)) +
         R"(,"ref_fields":["some_column_0"]}]})";
}

}  // namespace

std::string makeDescription(std::size_t tables) {
  std::string text = R"([{"catalog_name":"main","schemas":[{"schema_name":"public","tables":[)";
  for (std::size_t i = 0; i < tables; ++i) text += (i > 0 ? "," : "") + makeTable(i, tables);
  return text + "]}]}]";
}

std::string makeModelList(std::size_t models) {
  std::string text = R"({"object":"list","data":[)";
  for (std::size_t i = 0; i < models; ++i) {
    text += (i > 0 ? "," : "") + (R"({"id":"gpt-model-)" + std::to_string(i * 7919 % 1000)) +
            R"(-2024","object":"model","created":)" + std::to_string(1600000000 + i * 7919 % 1000003) +
            R"(,"owned_by":"system"})";
  }
  return text + "]}";
}

std::string makeEntry() {
  std::string text;
  while (text.size() < 1024) text += "SELECT a, b FROM t WHERE \"name\" = 'x';\n";
  text.resize(1024);
  return text;
}
