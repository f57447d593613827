// What the services' protocols have in common: a call, the reply to it, and the table of routes that joins the two.
#pragma once

#include "reply.h"
#include "standin.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace standin {

class AssistantsStore;

/// A request on its way to a handler.
struct Call {
  const Request& request;
  const std::string& apiKey;    // the only one that is accepted; empty: any
  AssistantsStore& assistants;  // what is kept between requests; the other protocols keep nothing
  bool mayStream = true;        // false: the answer is whole, even where a stream is asked for
  // The route's:
  std::string_view path = {};              // of the request, below the service's mount
  std::vector<std::string> captured = {};  // decoded, for each '*' of its pattern
};

using Handler = Reply (*)(const Call&);

struct Route {
  std::string_view method;
  std::string_view pattern;  // of the path; '*' stands for one or more characters other than '/'
  Handler handler;
};

struct Service {
  std::string_view home;  // how the paths begin that are this service's even without a route
  std::span<const Route> routes;
  std::optional<Reply> (*admit)(const Call&);  // asked ahead of a route: nothing, or a refusal
  Handler unknownPath;
  Handler wrongMethod;
};

/// Services that stand at one place and are told apart by their paths.
struct Site {
  std::string prefix;  // of the paths; "": all others
  std::vector<Service> services;
};

/// The usual answer to a call that has no route yet, from the site with the longest prefix that holds its path: by the
/// service that has a route for what is left of the path, else by the one whose home holds that, else by the first.
Reply answerRequest(std::span<const Site> sites, Call call);

}  // namespace standin
