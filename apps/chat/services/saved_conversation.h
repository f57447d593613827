// Conversations in files, and whether one may be gone on with.
#pragma once

#include "failure.h"
#include "services/endpoint.h"

#include <functional>
#include <iosfwd>
#include <string>

/// Why a conversation is not restored: a sentence for the user.
class RestoreError : public Failure {
 public:
  using Failure::Failure;
};

/// Puts a question to the user and tells whether the answer is yes; empty where nobody can answer.
using Consent = std::function<bool(const std::string& question)>;

/// The text of the file at `path`: 64 MiB and a million JSON values at most, which no model would take, and which the
/// library, that sets no such bound, would make a tree of. @throw RestoreError
std::string readSavedConversation(const std::string& path);

/// As readSavedConversation, of a stream that is called `name`; reads hardly more of it than that.
std::string readConversation(std::istream& in, const std::string& name);

/// Makes sure that going on with `saved` at `endpoint` sends nothing to a host that the user does not know of: the text
/// names one, and the key goes there, too. Sends nothing itself. What was looked at must be what is restored.
/// @return what to restore: `saved`, or its turns alone where the stand-in inside the program answers.
/// @throw RestoreError
std::string consentToSaved(const std::string& saved, const Endpoint& endpoint, const Consent& consent);
