#include "describe.h"

#include "query.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace standin {
namespace {

struct KindName {
  RelationKind kind;
  std::string_view singular;
  std::string_view plural;
  std::string_view heading;
};
constexpr std::array kKinds{
    KindName{RelationKind::Table, "table", "tables", "Tables"},
    KindName{RelationKind::View, "view", "views", "Views"},
    KindName{RelationKind::MaterializedView, "materialized view", "materialized views", "Materialized views"},
};

std::string_view kindOf(const Relation& relation) {
  return std::find_if(kKinds.begin(), kKinds.end(), [&](const KindName& name) { return name.kind == relation.kind; })
      ->singular;
}

std::string join(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

std::string describeColumn(const Relation& relation, const Column& column) {
  std::string line = "- " + column.name;
  if (!column.type.empty()) line += " " + column.type;
  const auto& primary = relation.primaryKey;
  if (std::find(primary.begin(), primary.end(), column.name) != primary.end()) {
    line += primary.size() > 1 ? ", part of the primary key" : ", primary key";
  }
  for (const ForeignKey& key : relation.foreignKeys) {
    if (std::find(key.columns.begin(), key.columns.end(), column.name) == key.columns.end()) continue;
    line += ", refers to " + key.table + "(" + join(key.referenced) + ")";
  }
  return line + "\n";
}

}  // namespace

std::string countRelations(const Schema& schema) {
  std::vector<std::string> parts;
  for (const KindName& kind : kKinds) {
    const auto count =
        std::count_if(schema.begin(), schema.end(), [&](const auto& one) { return one.kind == kind.kind; });
    if (count == 0) continue;
    parts.push_back(std::to_string(count) + " " + std::string(count == 1 ? kind.singular : kind.plural));
  }
  return join(parts);
}

std::string listRelations(const Schema& schema) {
  std::string text;
  for (const KindName& kind : kKinds) {
    std::vector<std::string> names;
    for (const Relation& relation : schema) {
      if (relation.kind == kind.kind) names.push_back(qualifiedName(relation));
    }
    if (!names.empty()) text += std::string(kind.heading) + ": " + join(names) + "\n";
  }
  return text;
}

std::string describeRelation(const Schema& schema, const Relation& relation) {
  const std::size_t count = relation.columns.size();
  std::string text = "The " + std::string(kindOf(relation)) + " " + qualifiedName(relation) + " has " +
                     std::to_string(count) + (count == 1 ? " column" : " columns") + (count == 0 ? ".\n" : ":\n");
  for (const Column& column : relation.columns) text += describeColumn(relation, column);
  for (const Relation& other : schema) {
    for (const ForeignKey& key : other.foreignKeys) {
      if (findReferenced(schema, other, key) != &relation) continue;
      text += "It is referred to by " + qualifiedName(other) + "(" + join(key.columns) + ").\n";
    }
  }
  return text;
}

}  // namespace standin
