#include "conversation/background.h"

std::string countTables(const std::vector<TableOutline>& tables) {
  std::size_t views = 0;
  std::size_t columns = 0;
  for (const TableOutline& table : tables) {
    views += table.isView ? 1 : 0;
    columns += table.columns.size();
  }
  const auto count = [](std::size_t number, const char* noun) {
    return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
  };
  return count(tables.size() - views, "table") + ", " + count(views, "view") + ", " + count(columns, "column");
}
