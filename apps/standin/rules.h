// Answers from rules: what can be said about a schema, and the SQL that can be put together from it, by looking at
// the words of a question. Everything here is a pure function of its arguments.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace standin {

/// One message of the conversation so far.
struct Turn {
  bool fromUser = false;
  std::string text;
};

/// @param instructions the texts that came under the system's or the developer's role; CREATE TABLE, CREATE VIEW,
///                     CREATE MATERIALIZED VIEW and USE CATALOG lines in them are taken as the schema
/// @param history      what was said before `question`, oldest first
std::string answerQuestion(std::string_view instructions, const std::vector<Turn>& history, std::string_view question);

}  // namespace standin
