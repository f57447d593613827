// The rules that answer a question by a SELECT statement.
#pragma once

#include "words.h"

#include <array>
#include <optional>
#include <string>

namespace standin {

/// What a rule found: its answer, and the question less what the rule took.
struct Finding {
  std::string text;
  Question question;
  bool isAnswer = true;  // else it says why there is none
};

/// Nothing when the question is of another kind.
using Rule = std::optional<Finding> (*)(Question question, const Schema& schema);

std::optional<Finding> answerRanking(Question question, const Schema& schema);  // "latest 5 orders"
std::optional<Finding> answerMeasure(Question question, const Schema& schema);  // "average price by category"
std::optional<Finding> answerJoin(Question question, const Schema& schema);     // "orders with their customers"
std::optional<Finding> answerListing(Question question, const Schema& schema);  // "all customers"

}  // namespace standin
