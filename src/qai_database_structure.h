// A database description as DDL: what a model is told of the database. Nothing here knows of records or services.
#pragma once

#include <cf/json.h>
#include <cf/variant.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

/// The checks that parts of a description may fail. A catalog or schema is then left out with all that is in it; of an
/// object with such a part nothing is left but the empty statement.
enum class StructureCheck { Catalog, Schema, Object, Field, PrimaryKey, ForeignKey, ForeignKeyColumn };

/// The checks that failed, in the order of the description.
using StructureFailures = std::vector<StructureCheck>;

/// The catalogs of the description `json` with their statements, as hosts read them: first those without a name, so
/// that what needs no "USE CATALOG" comes before the first one, then the named, each group in the order of the
/// description. Empty for what is no JSON array. Linear in the size of the description.
CMVariantList readDatabaseStructure(const std::string& json, StructureFailures& failures);

/// One statement; "" when `object` is not described as it must be.
std::string writeObjectStatement(const std::string& kind, const std::string& schemaName, const ICOJsonValue* object,
                                 StructureFailures& failures);

/// What is sent to a model of a description.
struct DatabaseText {
  std::string ddl;   // the statements as lines, each ended by "\n"
  std::string json;  // what stands in a JSON string of the same
  StructureFailures failures;
};

/// A description, as the JSON text in which a host stored it. Beside it stays what is sent of it, from the first time
/// that it is asked for until another description takes its place: to make it takes far longer than to send it. Copies
/// share it. Used by one thread at a time, though it is const.
class DatabaseDescription {
 public:
  DatabaseDescription() = default;
  // NOLINTBEGIN(google-explicit-constructor): a description is its text
  DatabaseDescription(std::string json) : json_(std::move(json)) {}
  DatabaseDescription(const char* json) : json_(json) {}
  // NOLINTEND(google-explicit-constructor)

  const std::string& json() const { return json_; }
  const DatabaseText& text() const;

 private:
  std::string json_;
  mutable std::shared_ptr<const DatabaseText> text_;  // null until it is asked for
};
