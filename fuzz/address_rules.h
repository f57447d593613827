// Where a request may go: what holds for every address, whatever host, model or identifier it was made of.
#pragma once

#include "rest_options.h"

#include <cf/rest.h>

#include <string>

/// `plan` is what the REST client made of `request` and is about to send; `apiHost` is the address that the host
/// application asked for.
///
/// - The URL is the API host less its slashes at the end, and behind it path segments of RFC 3986's characters, each
///   "%" an escape, none "." or "..": so nothing in it can begin a query or a fragment, go up, or end a line.
/// - libcurl, which takes the address apart, finds the host, port and path of the API host alone in it, with these
///   segments behind, and no query but the request's own.
/// - Where the API host's name is plain, it is that host by the plainest reading of RFC 3986, too.
/// - No header holds a control character.
void expectSound(const CMRestRequest& request, const RestPlan& plan, const std::string& apiHost);
