// Questions about a schema that are worth a try.
#pragma once

#include "ddl.h"

#include <functional>
#include <string>
#include <vector>

namespace standin {

/// A question, and what the statement that answers it must hold.
struct Suggestion {
  std::string question;
  std::vector<std::string> fragments = {};  // none: any answer will do
};

/// Three questions, of different kinds as far as the schema allows, made of its own names. Each is one that
/// `isUnderstood`, which is asked about a limited number of them however large the schema is. Fewer where the names
/// hold no words.
std::vector<std::string> suggestQuestions(const Schema& schema,
                                          const std::function<bool(const Suggestion& suggestion)>& isUnderstood);

}  // namespace standin
