// A schema in words.
#pragma once

#include "ddl.h"

#include <string>

namespace standin {

/// "4 tables, 1 view"
std::string countRelations(const Schema& schema);
/// The names of all tables and views, by kind.
std::string listRelations(const Schema& schema);
/// The columns of `relation` with their types and keys, and the tables that refer to it.
std::string describeRelation(const Schema& schema, const Relation& relation);

}  // namespace standin
