// What comes through the standard input with a question.
#pragma once

#include "failure.h"

#include <chrono>
#include <iosfwd>
#include <string>

/// What is piped can't go with a question: a sentence for the user.
class InputError : public Failure {
 public:
  using Failure::Failure;
};

/// `question` and behind it, apart by a blank line, what `in` holds up to its end; the question alone where that is
/// blank. What is ill-formed becomes U+FFFD. While the end does not come, `err` is told once what is waited for, after
/// `patience`.
/// @throw InputError for more than 1 MiB, and for what is no text
std::string joinInput(const std::string& question, std::istream& in, std::ostream& err,
                      std::chrono::milliseconds patience = std::chrono::seconds(2));
