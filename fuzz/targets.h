// The targets over the library.
#pragma once

#include "support/services.h"

#include <string_view>

/// A turn with each service whose bodies have the form, against the replies in the input.
void fuzzTurn(BodyForm form, std::string_view input);
/// The same reply under the status of a failure, by all services.
void fuzzFailure(std::string_view input);
/// A saved session's text, for each service that keeps conversations, or for each that does not.
void fuzzSession(bool isKept, std::string_view input);
/// A database's description.
void fuzzStructure(std::string_view input);
/// API host, model and key, with all services.
void fuzzAddress(std::string_view input);
/// JSON text, read and written.
void fuzzJson(std::string_view input);
/// A variant, written and read.
void fuzzVariant(std::string_view input);
/// A streamed reply, of events or of lines, cut into parts.
void fuzzEventStream(std::string_view input);
void fuzzLineStream(std::string_view input);
/// The same as a reply of the form.
void fuzzReplyStream(BodyForm form, std::string_view input);
