#include "query.h"

#include "words.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <deque>
#include <map>
#include <utility>

namespace standin {
namespace {

constexpr auto kReserved = std::to_array<std::string_view>(
    {"all",    "and",    "any",    "as",      "asc",        "between", "by",       "case",   "check",
     "column", "create", "cross",  "default", "delete",     "desc",    "distinct", "drop",   "else",
     "end",    "except", "exists", "false",   "for",        "foreign", "from",     "full",   "grant",
     "group",  "having", "in",     "index",   "inner",      "insert",  "into",     "is",     "join",
     "key",    "left",   "like",   "limit",   "natural",    "not",     "null",     "offset", "on",
     "or",     "order",  "outer",  "primary", "references", "right",   "select",   "set",    "table",
     "then",   "to",     "true",   "union",   "unique",     "user",    "where",    "with"});

/// The last words of columns by which people know a row.
constexpr std::array<std::string_view, 3> kLabels{"name", "title", "label"};

std::string join(const std::vector<std::string>& parts, std::string_view separator) {
  std::string text;
  for (const std::string& part : parts) {
    if (!text.empty()) text += separator;
    text += part;
  }
  return text;
}

std::vector<Link> allLinks(const Schema& schema, Direction direction) {
  std::vector<Link> links;
  for (const Relation& from : schema) {
    for (const ForeignKey& key : from.foreignKeys) {
      const Relation* to = findReferenced(schema, from, key);
      if (to == nullptr) continue;
      links.push_back({&from, to, &key, true});
      if (direction == Direction::Any) links.push_back({to, &from, &key, false});
    }
  }
  return links;
}

std::vector<Link> traceBack(const std::map<const Relation*, Link>& arrivedBy, const Relation& from,
                            const Relation& to) {
  std::vector<Link> path;
  for (const Relation* at = &to; at != &from; at = path.back().from) path.push_back(arrivedBy.at(at));
  std::reverse(path.begin(), path.end());
  return path;
}

}  // namespace

std::optional<std::vector<Link>> findPath(const Schema& schema, const Relation& from, const Relation& to,
                                          Direction direction) {
  const std::vector<Link> links = allLinks(schema, direction);
  std::map<const Relation*, Link> arrivedBy;
  std::deque<const Relation*> reached{&from};
  while (!reached.empty()) {
    const Relation& at = *reached.front();
    reached.pop_front();
    if (&at == &to) return traceBack(arrivedBy, from, to);
    for (const Link& link : links) {
      if (link.from == &at && link.to != &from && arrivedBy.emplace(link.to, link).second) reached.push_back(link.to);
    }
  }
  return std::nullopt;
}

std::string quoteName(std::string_view name) {
  const bool plain = !name.empty() && std::isdigit(static_cast<unsigned char>(name.front())) == 0 &&
                     std::all_of(name.begin(), name.end(), [](unsigned char c) {
                       return c < 0x80 && (std::islower(c) != 0 || std::isdigit(c) != 0 || c == '_');
                     });
  if (plain && std::find(kReserved.begin(), kReserved.end(), name) == kReserved.end()) return std::string(name);
  std::string quoted = "\"";
  for (const char c : name) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + '"';
}

std::string qualifiedName(const Relation& relation) {
  const std::string name = quoteName(relation.name);
  return relation.schema.empty() ? name : quoteName(relation.schema) + "." + name;
}

std::string labelColumn(const Relation& relation) {
  const auto named = std::find_if(relation.columns.begin(), relation.columns.end(), [](const Column& column) {
    const std::vector<std::string> words = splitWords(column.name);
    return isText(column) && !words.empty() && std::find(kLabels.begin(), kLabels.end(), words.back()) != kLabels.end();
  });
  if (named != relation.columns.end()) return named->name;
  if (!relation.primaryKey.empty()) return relation.primaryKey.front();
  return relation.columns.empty() ? std::string() : relation.columns.front().name;
}

std::string Select::qualifier(const Relation& relation) const {
  const auto sameName = [&](const Relation& other) { return &other != &relation && other.name == relation.name; };
  const bool ambiguous = sameName(from_) || std::any_of(links_.begin(), links_.end(),
                                                        [&](const Link& link) { return sameName(*link.to); });
  return ambiguous ? qualifiedName(relation) : quoteName(relation.name);
}

std::string Select::column(const Relation& relation, std::string_view name) const {
  return links_.empty() ? quoteName(name) : qualifier(relation) + "." + quoteName(name);
}

std::string Select::joinText(const Link& link) const {
  const Relation& holder = link.forward ? *link.from : *link.to;
  const Relation& referenced = link.forward ? *link.to : *link.from;
  std::vector<std::string> conditions;
  for (std::size_t i = 0; i < link.key->columns.size(); ++i) {
    conditions.push_back(column(holder, link.key->columns[i]) + " = " + column(referenced, link.key->referenced[i]));
  }
  const std::string_view opening = keep_ == Keep::AllOfFirst ? "LEFT JOIN " : "JOIN ";
  return std::string(opening) + qualifiedName(*link.to) + " ON " + join(conditions, " AND ");
}

Select& Select::add(std::string expression) {
  expressions_.push_back(std::move(expression));
  return *this;
}

Select& Select::groupBy(std::string expression) {
  groups_.push_back(std::move(expression));
  return *this;
}

Select& Select::orderBy(std::string expression, bool descending) {
  orders_.push_back(std::move(expression) + (descending ? " DESC" : ""));
  return *this;
}

Select& Select::limit(int rows) {
  limit_ = rows;
  return *this;
}

std::string Select::text() const {
  std::vector<std::string> lines{"SELECT " + join(expressions_, ", "), "FROM " + qualifiedName(from_)};
  for (const Link& link : links_) lines.push_back(joinText(link));
  if (!groups_.empty()) lines.push_back("GROUP BY " + join(groups_, ", "));
  if (!orders_.empty()) lines.push_back("ORDER BY " + join(orders_, ", "));
  if (limit_ > 0) lines.push_back("LIMIT " + std::to_string(limit_));
  return join(lines, "\n") + ";";
}

}  // namespace standin
