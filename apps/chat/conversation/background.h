// What a conversation is about, beside who answers: plain texts and a place to run statements, whatever the product.
#pragma once

#include <functional>
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

class Workbench;

/// All of it may be empty.
struct Background {
  std::vector<TableOutline> tables;
  Workbench* workbench = nullptr;                 // where the statements of answers run; null: nowhere
  std::function<std::string()> tellSent = {};     // what has left this machine, for people
  std::function<std::string()> tellContext = {};  // what goes along with the next question
};

/// "5 tables, 1 view, 21 columns".
std::string countTables(const std::vector<TableOutline>& tables);
