// Which database a saved conversation is about.
#pragma once

#include "services/saved_conversation.h"

#include <string>

/// As it is kept with a conversation.
struct DatabaseMark {
  std::string name;       // of the file, without the folders, which are nobody else's business; "": none is kept
  std::string structure;  // tells one structure from another, in hexadecimal digits; no secret, and keeps none
};

/// That of the database in the file at `path`, whose description is `structureJson`.
DatabaseMark markDatabase(const std::string& path, const std::string& structureJson);

/// `saved`, a saved session, with `mark` in a member that the library takes no notice of.
std::string withDatabase(const std::string& saved, const DatabaseMark& mark);

/// Makes sure that `saved`, a text of withDatabase or of the library alone, is gone on with over the database of
/// `inUse`: one of another name is asked about, unless `isAllowed`; a text without a mark fits any. Sends nothing.
/// @return a notice for the user; "" when there is nothing to say. @throw RestoreError
std::string consentToDatabase(const std::string& saved, const DatabaseMark& inUse, bool isAllowed,
                              const Consent& consent);
