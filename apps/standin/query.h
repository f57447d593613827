// Putting SELECT statements together.
#pragma once

#include "ddl.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace standin {

/// A step from a table to one that it, or that leads to it by a foreign key.
struct Link {
  const Relation* from;
  const Relation* to;
  const ForeignKey* key;
  bool forward;  // the key stands in `from`
};

enum class Direction {
  ToOne,  // only along foreign keys, so that no row of the first table counts twice
  Any
};

/// The shortest way from one table to another; nothing when the foreign keys give none.
std::optional<std::vector<Link>> findPath(const Schema& schema, const Relation& from, const Relation& to,
                                          Direction direction);

/// `name` as it may stand in a statement: in double quotes where it needs them.
std::string quoteName(std::string_view name);
/// The name of a table or view, with its schema where it has one.
std::string qualifiedName(const Relation& relation);
/// The column by which people know a row: a name or a title, else the key.
std::string labelColumn(const Relation& relation);

/// A SELECT in the making. The relations and links must outlive it.
class Select {
 public:
  enum class Keep { Matching, AllOfFirst };  // which rows of the first table a join keeps

  explicit Select(const Relation& from, std::vector<Link> links = {}, Keep keep = Keep::Matching)
      : from_(from), links_(std::move(links)), keep_(keep) {}

  /// `name` as it stands in this statement: with its table where there is more than one.
  std::string column(const Relation& relation, std::string_view name) const;

  Select& add(std::string expression);
  Select& groupBy(std::string expression);
  Select& orderBy(std::string expression, bool descending);
  Select& limit(int rows);

  std::string text() const;

 private:
  std::string qualifier(const Relation& relation) const;
  std::string joinText(const Link& link) const;

  const Relation& from_;
  std::vector<Link> links_;
  Keep keep_;
  std::vector<std::string> expressions_;
  std::vector<std::string> groups_;
  std::vector<std::string> orders_;
  int limit_ = 0;  // 0: none
};

}  // namespace standin
