#include "conversation/table_commands.h"

#include "conversation/near_name.h"
#include "terminal/rendering.h"

#include <algorithm>
#include <ostream>

namespace {

char toSmall(char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool isSameName(std::string_view one, std::string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char a, char b) { return toSmall(a) == toSmall(b); });
}

/// `name` as people quote it in SQL, bare.
std::string_view withoutQuotes(std::string_view name) {
  for (const std::string_view pair : {R"("")", "``", "[]", "''"}) {
    if (name.size() > 2 && name.front() == pair[0] && name.back() == pair[1]) return name.substr(1, name.size() - 2);
  }
  return name;
}

/// Null when there is none. Letters count as SQL has them: large or small, unless two names differ in that alone.
const TableOutline* findTable(const std::vector<TableOutline>& tables, std::string_view name) {
  auto found = std::find_if(tables.begin(), tables.end(), [&](const TableOutline& any) { return any.name == name; });
  if (found == tables.end()) {
    found =
        std::find_if(tables.begin(), tables.end(), [&](const TableOutline& any) { return isSameName(any.name, name); });
  }
  return found == tables.end() ? nullptr : &*found;
}

std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(text.size(), width), ' ');
  return text;
}

}  // namespace

bool listTables(Talk& talk, const CommandCall& /*call*/) {
  const std::vector<TableOutline>& tables = talk.background.tables;
  if (tables.empty()) talk.streams.err << "The database holds no tables.\n";
  for (const TableOutline& table : tables)
    talk.streams.err << "  " << terminalSafeLine(table.name) << (table.isView ? " (a view)" : "") << '\n';
  return true;
}

bool describeTable(Talk& talk, const CommandCall& call) {
  const std::vector<TableOutline>& tables = talk.background.tables;
  const std::string_view name = withoutQuotes(call.rest);
  if (const TableOutline* table = findTable(tables, name)) {
    std::size_t width = 0;
    for (const ColumnOutline& column : table->columns) width = std::max(width, column.name.size());
    for (const ColumnOutline& column : table->columns)
      talk.streams.err << "  " << terminalSafeLine(padded(column.name, width) + "  " + column.about) << '\n';
    return true;
  }
  std::vector<std::string_view> names;
  names.reserve(tables.size());
  for (const TableOutline& table : tables) names.emplace_back(table.name);
  complain(talk.streams.err,
           "There is no table " + std::string(name) + askWhichIsMeant(name, names) + "/tables lists them");
  talk.note(ExitCode::WrongUsage);
  return true;
}
