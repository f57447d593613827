#include "address_rules.h"

#include "expect.h"

#include <cf/url.h>

#include <algorithm>
#include <cctype>
#include <string_view>

namespace {

bool isHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); }

bool isAlphanumeric(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }

bool isSegmentCharacter(char c) {
  constexpr std::string_view kMarks = "-._~!$&'()*+,;=:@%";
  return isAlphanumeric(c) || kMarks.find(c) != std::string_view::npos;
}

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

bool isSegment(std::string_view segment) {
  if (segment == "." || segment == "..") return false;
  for (std::size_t at = segment.find('%'); at != std::string_view::npos; at = segment.find('%', at + 1)) {
    if (at + 2 >= segment.size() || !isHexDigit(segment[at + 1]) || !isHexDigit(segment[at + 2])) return false;
  }
  return std::all_of(segment.begin(), segment.end(), isSegmentCharacter);
}

/// "/a/b"
void expectSegments(std::string_view path) {
  while (!path.empty()) {
    expect(path.front() == '/', "segments follow the API host", path);
    path.remove_prefix(1);
    const std::string_view segment = path.substr(0, path.find('/'));
    expect(isSegment(segment), "an identifier is one segment", segment);
    path.remove_prefix(segment.size());
  }
}

std::string partOf(CURLU* url, CURLUPart part) {
  char* text = nullptr;
  if (curl_url_get(url, part, &text, part == CURLUPART_PORT ? CURLU_DEFAULT_PORT : 0) != CURLUE_OK) return {};
  std::string copy(text);
  curl_free(text);
  return copy;
}

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
  return text;
}

/// The host's name by the plainest reading of RFC 3986; "" when it isn't made of letters, digits, '-' and '.' alone, or
/// may be a number, which libcurl writes in another form.
std::string plainHost(const std::string& url) {
  const std::size_t start = url.find("://") + 3;
  std::string host = url.substr(start, url.find_first_of("/?#", start) - start);
  host.resize(std::min(host.find(':'), host.size()));
  const bool isPlain =
      std::all_of(host.begin(), host.end(), [](char c) { return isAlphanumeric(c) || c == '-' || c == '.'; });
  const std::size_t lastLabel = host.find_last_of('.') + 1;
  return isPlain && lastLabel < host.size() && !std::isdigit(static_cast<unsigned char>(host[lastLabel])) ? lower(host)
                                                                                                          : "";
}

std::string queryOf(const CMRestParams& params) {
  std::string query;
  for (const auto& [name, value] : params) {
    query += (query.empty() ? "" : "&") + cfEncodeQueryText(name) + "=" + cfEncodeQueryText(value);
  }
  return query;
}

void expectAsAsked(CURLU* sent, const std::string& base, std::string_view segments, const std::string& query) {
  URLHandle asked(curl_url());
  expect(curl_url_set(asked.get(), CURLUPART_URL, base.c_str(), CURLU_PATH_AS_IS) == CURLUE_OK,
         "the API host is an address by itself", base);
  for (const CURLUPart part : {CURLUPART_SCHEME, CURLUPART_HOST, CURLUPART_PORT}) {
    expect(partOf(sent, part) == partOf(asked.get(), part), "a request goes to the host that was asked for", base);
  }
  const std::string plain = plainHost(base);
  expect(plain.empty() || plain == lower(partOf(sent, CURLUPART_HOST)), "the host is the one that people read", base);
  if (base.find('?') != std::string::npos) return;  // then all behind it is in the query, as the host wanted it
  std::string path = partOf(asked.get(), CURLUPART_PATH);
  if (path == "/") path.clear();
  expect(partOf(sent, CURLUPART_PATH) == path.append(segments), "the path is the segments", path);
  expect(partOf(sent, CURLUPART_QUERY) == query, "the query is the request's own", query);
}

}  // namespace

void expectSound(const CMRestRequest& request, const RestPlan& plan, const std::string& apiHost) {
  for (const curl_slist* header = plan.headers.get(); header != nullptr; header = header->next) {
    const std::string_view line(header->data);
    expect(std::none_of(line.begin(), line.end(), isControl), "no header ends early", line);
  }
  const std::string scheme = partOf(plan.address.handle.get(), CURLUPART_SCHEME);
  expect(scheme == "http" || scheme == "https", "requests go by http or https", scheme);

  const std::string& url = request.getURL();
  const std::string base = apiHost.substr(0, apiHost.find_last_not_of('/') + 1);
  expect(url.starts_with(base), "an address begins with the API host", url);
  const std::string_view segments = std::string_view(url).substr(base.size());
  expectSegments(segments);
  expectAsAsked(plan.address.handle.get(), base, segments, queryOf(request.getQueryParams()));
}
