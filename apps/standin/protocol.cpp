#include "protocol.h"

#include <cf/url.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace standin {
namespace {

/// What the stars of `pattern` stand for in `path`; nothing when `path` is not of this form.
std::optional<std::vector<std::string>> matchPath(std::string_view pattern, std::string_view path) {
  std::vector<std::string> captured;
  std::size_t at = 0;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] != '*') {
      if (at == path.size() || path[at++] != pattern[i]) return std::nullopt;
      continue;
    }
    const char last = i + 1 < pattern.size() ? pattern[i + 1] : '/';
    std::size_t end = at;
    while (end < path.size() && path[end] != '/' && path[end] != last) ++end;
    if (end == at) return std::nullopt;
    captured.push_back(cfDecodePercent(path.substr(at, end - at)));
    at = end;
  }
  if (at != path.size()) return std::nullopt;
  return captured;
}

const Service& findHome(std::span<const Service> services, std::string_view path) {
  const auto found = std::find_if(services.begin(), services.end(),
                                  [&](const Service& service) { return path.starts_with(service.home); });
  return found == services.end() ? services.front() : *found;
}

Reply answerAt(const Site& site, Call& call) {
  const Service* known = nullptr;
  for (const Service& service : site.services) {
    for (const Route& route : service.routes) {
      auto captured = matchPath(route.pattern, call.path);
      if (!captured) continue;
      known = &service;
      if (route.method != call.request.method) continue;
      call.captured = std::move(*captured);
      if (auto refusal = service.admit(call)) return std::move(*refusal);
      return route.handler(call);
    }
  }
  return known != nullptr ? known->wrongMethod(call) : findHome(site.services, call.path).unknownPath(call);
}

/// `path` without `prefix`; nothing when that is not what its segments begin with.
std::optional<std::string_view> pathBelow(std::string_view prefix, std::string_view path) {
  if (!path.starts_with(prefix)) return std::nullopt;
  path.remove_prefix(prefix.size());
  if (path.empty()) return "/";
  if (!prefix.empty() && path.front() != '/') return std::nullopt;
  return path;
}

}  // namespace

Reply answerRequest(std::span<const Site> sites, Call call) {
  const Site* nearest = nullptr;
  for (const Site& site : sites) {
    const auto below = pathBelow(site.prefix, call.request.path);
    if (!below || (nearest != nullptr && nearest->prefix.size() > site.prefix.size())) continue;
    nearest = &site;
    call.path = *below;
  }
  if (nearest == nullptr) return {.status = 404, .contentType = "text/plain"};
  return answerAt(*nearest, call);
}

}  // namespace standin
