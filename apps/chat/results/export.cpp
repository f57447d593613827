#include "results/export.h"

#include "ascii_case.h"
#include "path_text.h"
#include "private_file.h"
#include "results/sql_literal.h"
#include "results/value_text.h"
#include "sql/names.h"

#include <cf/json.h>

#include <array>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace {

std::string csvText(std::string_view text) {
  constexpr std::string_view kQuoted = ",\"\r\n";
  const bool isPlain = !text.empty() && text.find_first_of(kQuoted) == std::string_view::npos &&
                       !text.starts_with(' ') && !text.ends_with(' ');
  if (isPlain) return std::string(text);
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + '"';
}

struct CsvWriter {
  std::string operator()(std::monostate) const { return ""; }
  std::string operator()(std::int64_t value) const { return std::to_string(value); }
  std::string operator()(double value) const { return realText(value); }
  std::string operator()(const std::string& text) const { return csvText(text); }
  std::string operator()(const Blob& blob) const { return blob.bytes.empty() ? "\"\"" : hexText(blob.bytes); }
};

/// Fills one value of a JSON document. Texts must outlive it.
struct JsonWriter {
  COJsonValue& json;

  void operator()(std::monostate) const { json.setNull(); }
  void operator()(std::int64_t value) const { json.setInteger(value); }
  void operator()(double value) const { json.setNumber(value); }
  void operator()(const std::string& text) const { json.setStringReference(text); }
  void operator()(const Blob& blob) const { json.setString(hexText(blob.bytes)); }
};

/// `columns` with "_2", "_3" … behind those that come again.
std::vector<std::string> uniqueNames(const std::vector<std::string>& columns) {
  std::unordered_set<std::string> taken(columns.begin(), columns.end());
  std::unordered_map<std::string, int> counts;
  std::vector<std::string> names;
  for (const std::string& column : columns) {
    int& count = counts[column];
    std::string name = column;
    if (++count > 1) {
      while (!taken.insert(name = column + "_" + std::to_string(count)).second) ++count;
    }
    names.push_back(std::move(name));
  }
  return names;
}

}  // namespace

std::string writeCsv(const Result& result) {
  std::string text;
  if (result.columns.empty()) return text;
  for (std::size_t i = 0; i < result.columns.size(); ++i)
    text.append(i == 0 ? "" : ",").append(csvText(result.columns[i]));
  text += "\r\n";
  for (const std::vector<Value>& row : result.rows) {
    for (std::size_t i = 0; i < row.size(); ++i) text.append(i == 0 ? "" : ",").append(std::visit(CsvWriter{}, row[i]));
    text += "\r\n";
  }
  return text;
}

std::string writeJson(const Result& result) {
  const std::vector<std::string> names = uniqueNames(result.columns);
  std::string text = "[";
  std::string_view separator = "\n";
  for (const std::vector<Value>& row : result.rows) {
    COJson document;
    document.setObject();
    for (std::size_t i = 0; i < row.size(); ++i) std::visit(JsonWriter{*document.addKeyValue(names[i])}, row[i]);
    text.append(separator).append(document.obtainJsonString());
    separator = ",\n";
  }
  return text + (result.rows.empty() ? "]\n" : "\n]\n");
}

std::string writeInserts(const Result& result, std::string_view table) {
  std::string opening = "INSERT INTO " + quoteSqlName(table) + " (";
  std::string_view separator;
  for (const std::string& name : uniqueNames(result.columns)) {
    opening.append(separator).append(quoteSqlName(name));
    separator = ", ";
  }
  opening += ") VALUES (";
  std::string text;
  for (const std::vector<Value>& row : result.rows) {
    text += opening;
    for (std::size_t i = 0; i < row.size(); ++i) text.append(i == 0 ? "" : ", ").append(sqlLiteral(row[i]));
    text += ");\n";
  }
  return text;
}

std::string exportResult(const Result& result, const std::string& path) {
  const std::filesystem::path file = makePath(path);
  const std::string ending = toLowerAscii(makePathText(file.extension()));
  if (ending == ".csv") return writePrivateFile(path, writeCsv(result));
  if (ending == ".json") return writePrivateFile(path, writeJson(result));
  if (ending == ".sql") return writePrivateFile(path, writeInserts(result, makePathText(file.stem())));
  return "its name must end with .csv, .json or .sql, which tells the form";
}
