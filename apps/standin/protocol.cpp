#include "protocol.h"

#include "request.h"
#include "services.h"

#include <cf/url.h>

#include <algorithm>
#include <array>
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

}  // namespace

Reply answerRequest(const Request& request, const std::string& apiKey, AssistantsStore& assistants) {
  const std::array services{openaiService(), assistantsService(), deepseekService(), ollamaService(), geminiService()};
  Call call{.request = request, .apiKey = apiKey, .assistants = assistants, .captured = {}};
  const Service* known = nullptr;
  for (const Service& service : services) {
    for (const Route& route : service.routes) {
      auto captured = matchPath(route.pattern, request.path);
      if (!captured) continue;
      known = &service;
      if (route.method != request.method) continue;
      call.captured = std::move(*captured);
      if (auto refusal = service.admit(call)) return std::move(*refusal);
      return route.handler(call);
    }
  }
  return known != nullptr ? known->wrongMethod(call) : findHome(services, request.path).unknownPath(call);
}

}  // namespace standin
