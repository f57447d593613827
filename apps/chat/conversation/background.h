// What a conversation is about, beside who answers: plain texts, whatever the product.
#pragma once

#include <string>
#include <vector>

/// Names are UTF-8 and stand as the database has them.
struct ColumnOutline {
  std::string name;
  std::string about;  // for people: its type, and which keys it is a part of
};

struct TableOutline {
  std::string name;  // with its schema, where a statement would need that
  bool isView = false;
  std::vector<ColumnOutline> columns;
};

/// All of it may be empty.
struct Background {
  std::vector<TableOutline> tables;
};
