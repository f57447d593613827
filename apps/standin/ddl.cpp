#include "ddl.h"

#include "words.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <span>
#include <utility>

namespace standin {
namespace {

/// Takes one statement apart from left to right. What it can't take it leaves, and says so.
class StatementReader {
 public:
  explicit StatementReader(std::string_view text) : rest_(text) {}

  bool take(std::string_view expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(expected.size());
    return true;
  }

  bool isAtEnd() const { return rest_.empty(); }

  bool takeName(std::string& name) {
    if (!rest_.starts_with('`')) return false;
    const std::size_t end = rest_.find('`', 1);
    if (end == std::string_view::npos) return false;
    name = rest_.substr(1, end - 1);
    rest_.remove_prefix(end + 1);
    return true;
  }

  /// Names up to the closing parenthesis; nothing stands between two of them.
  bool takeKeyNames(std::vector<std::string>& names) {
    for (std::string name; takeName(name);) names.push_back(name);
    return !names.empty() && take(")");
  }

  /// A type may hold parentheses and commas of its own, and quoted texts.
  std::string takeType() {
    int depth = 0;
    bool quoted = false;
    std::size_t end = 0;
    for (; end < rest_.size(); ++end) {
      const char c = rest_[end];
      if (c == '\'') quoted = !quoted;
      if (quoted) continue;
      if (depth == 0 && (c == ',' || c == ')')) break;
      depth += c == '(' ? 1 : (c == ')' ? -1 : 0);
    }
    std::string type(rest_.substr(0, end));
    rest_.remove_prefix(end);
    return type;
  }

  bool takeQualifiedName(std::string& schema, std::string& name) {
    if (!takeName(name)) return false;
    if (!take(".")) return true;
    schema = std::move(name);
    return takeName(name);
  }

 private:
  std::string_view rest_;
};

struct Opening {
  std::string_view text;
  RelationKind kind;
};
constexpr std::array kOpenings{
    Opening{"CREATE TABLE ", RelationKind::Table},
    Opening{"CREATE VIEW ", RelationKind::View},
    Opening{"CREATE MATERIALIZED VIEW ", RelationKind::MaterializedView},
};

bool takeOpening(StatementReader& reader, RelationKind& kind) {
  for (const Opening& opening : kOpenings) {
    if (!reader.take(opening.text)) continue;
    kind = opening.kind;
    return true;
  }
  return false;
}

bool takeForeignKey(StatementReader& reader, Relation& relation) {
  ForeignKey key;
  if (!reader.takeKeyNames(key.columns) || !reader.take(" REFERENCES ") ||
      !reader.takeQualifiedName(key.schema, key.table) || !reader.take("(") || !reader.takeKeyNames(key.referenced)) {
    return false;
  }
  relation.foreignKeys.push_back(std::move(key));
  return true;
}

bool takeElement(StatementReader& reader, Relation& relation) {
  if (reader.take("PRIMARY KEY(")) return reader.takeKeyNames(relation.primaryKey);
  if (reader.take("FOREIGN KEY(")) return takeForeignKey(reader, relation);
  Column column;
  if (!reader.takeName(column.name) || !reader.take(" ")) return false;
  column.type = reader.takeType();
  relation.columns.push_back(std::move(column));
  return true;
}

std::optional<Relation> readStatement(std::string_view line) {
  StatementReader reader(line);
  Relation relation;
  if (!takeOpening(reader, relation.kind) || !reader.takeQualifiedName(relation.schema, relation.name) ||
      !reader.take(" (")) {
    return std::nullopt;
  }
  if (reader.take(")") && reader.isAtEnd()) return relation;
  do {
    if (!takeElement(reader, relation)) return std::nullopt;
  } while (reader.take(", "));
  if (!reader.take(")") || !reader.isAtEnd()) return std::nullopt;
  return relation;
}

bool typeHolds(const Column& column, std::span<const std::string_view> parts) {
  std::string type = column.type;
  std::transform(type.begin(), type.end(), type.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return std::any_of(parts.begin(), parts.end(),
                     [&](std::string_view part) { return type.find(part) != std::string::npos; });
}

}  // namespace

Schema readSchema(std::string_view instructions) {
  Schema schema;
  std::string catalog;
  while (!instructions.empty()) {
    const std::size_t end = std::min(instructions.find('\n'), instructions.size());
    const std::string_view line = instructions.substr(0, end);
    instructions.remove_prefix(std::min(end + 1, instructions.size()));
    StatementReader reader(line);
    if (reader.take("USE CATALOG ")) {
      reader.takeName(catalog);
    } else if (auto relation = readStatement(line)) {
      relation->catalog = catalog;
      schema.push_back(std::move(*relation));
    }
  }
  return schema;
}

const Relation* findReferenced(const Schema& schema, const Relation& relation, const ForeignKey& key) {
  const std::string& wanted = key.schema.empty() ? relation.schema : key.schema;
  const auto found = std::find_if(schema.begin(), schema.end(), [&](const Relation& other) {
    return other.catalog == relation.catalog && other.schema == wanted && other.name == key.table;
  });
  return found == schema.end() || key.columns.size() != key.referenced.size() ? nullptr : &*found;
}

bool isKeyColumn(const Relation& relation, std::string_view column) {
  const auto holds = [&](const std::vector<std::string>& names) {
    return std::find(names.begin(), names.end(), column) != names.end();
  };
  return holds(relation.primaryKey) || std::any_of(relation.foreignKeys.begin(), relation.foreignKeys.end(),
                                                   [&](const ForeignKey& key) { return holds(key.columns); });
}

bool isNumber(const Column& column) {
  constexpr std::array<std::string_view, 8> kParts{"INT", "DEC", "NUM", "REAL", "FLOA", "DOUB", "MONEY", "SERIAL"};
  return typeHolds(column, kParts);
}

bool isText(const Column& column) {
  constexpr std::array<std::string_view, 5> kParts{"CHAR", "TEXT", "CLOB", "STRING", "ENUM"};
  return typeHolds(column, kParts);
}

bool isTime(const Column& column) {
  constexpr std::array<std::string_view, 2> kParts{"DATE", "TIME"};
  constexpr std::array<std::string_view, 6> kNames{"at", "created", "date", "on", "time", "timestamp"};
  const std::vector<std::string> words = splitWords(column.name);
  return typeHolds(column, kParts) ||
         std::find_first_of(words.begin(), words.end(), kNames.begin(), kNames.end()) != words.end();
}

}  // namespace standin
