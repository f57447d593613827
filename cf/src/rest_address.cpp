#include "rest_address.h"

#include "rest_text.h"

#include <cf/url.h>

#include <algorithm>
#include <new>
#include <string_view>

namespace {

struct TextDeleter {
  void operator()(char* text) const noexcept { curl_free(text); }
};

CURLUcode readPart(CURLU* handle, CURLUPart part, unsigned int flags, std::string& text) {
  char* raw = nullptr;
  const CURLUcode code = curl_url_get(handle, part, &raw, flags);
  const std::unique_ptr<char, TextDeleter> owner(raw);
  if (code == CURLUE_OUT_OF_MEMORY) throw std::bad_alloc();
  if (code == CURLUE_OK) text = raw;
  return code;
}

// The part as text; "" when the address has none.
std::string obtainPart(CURLU* handle, CURLUPart part, unsigned int flags = 0) {
  std::string text;
  readPart(handle, part, flags, text);
  return text;
}

RestPeer obtainPeer(CURLU* handle) {
  RestPeer peer{.host = plainText(obtainPart(handle, CURLUPART_HOST)), .name = {}};
  peer.name = peer.host + ":" + obtainPart(handle, CURLUPART_PORT, CURLU_DEFAULT_PORT);
  return peer;
}

// libcurl also takes one slash or three before the host, and so would find a host in the path of an address without
// one.
bool holdsHost(std::string_view url) {
  const std::size_t start = url.find(':') + 1;
  return url.substr(start, 2) == "//" && url.substr(start + 2, 1) != "/";
}

bool isASCII(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Whether a host name, in which %XX was decoded, holds only what may stand in one as it is (RFC 3986, the unreserved
// characters). What stands in brackets is libcurl's to check.
bool isHostName(std::string_view host) {
  constexpr std::string_view kUnreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
  return host.starts_with('[') || host.find_first_not_of(kUnreserved) == std::string_view::npos;
}

// Takes `url` apart. `what` is how the sentence calls it: "address".
std::string readURL(const std::string& url, const std::string& what, unsigned int flags, URLHandle& handle) {
  if (holdsControlCharacter(url)) return "The " + what + " holds a control character";
  handle.reset(curl_url());
  if (handle == nullptr) throw std::bad_alloc();
  CURLUcode code = curl_url_set(handle.get(), CURLUPART_URL, url.c_str(), flags);
  if (code == CURLUE_OUT_OF_MEMORY) throw std::bad_alloc();
  if (code == CURLUE_USER_NOT_ALLOWED) return "The " + what + " must not hold a user name or password";
  std::string scheme;
  if (code == CURLUE_OK) scheme = obtainPart(handle.get(), CURLUPART_SCHEME);
  if (code == CURLUE_BAD_SCHEME || code == CURLUE_UNSUPPORTED_SCHEME ||
      (code == CURLUE_OK && scheme != "http" && scheme != "https")) {
    return "The " + what + " must begin with http:// or https://";
  }
  if (code == CURLUE_OK && !holdsHost(url)) code = CURLUE_NO_HOST;
  std::string host;
  if (code == CURLUE_OK) host = obtainPart(handle.get(), CURLUPART_HOST);
  const std::string unusable = "The " + what + " can't be used: ";
  // libcurl would read such a name in the encoding of the process's locale, and systems map some letters differently.
  // It is not quoted: a key that was given for a host stands there.
  if (!isASCII(host)) return unusable + "the host name must be in ASCII, in its xn-- form";
  if (!isHostName(host)) code = CURLUE_BAD_HOSTNAME;
  if (code == CURLUE_OK) return "";
  return unusable + plainTextWithin(curl_url_strerror(code));
}

// Appends the query to `url`.
std::string appendQuery(const CMRestParams& query, std::string& url) {
  char separator = '?';
  for (const auto& [name, value] : query) {
    if (holdsControlCharacter(name)) {
      return "The query parameter \"" + plainText(name) + "\" holds a control character";
    }
    url += separator + cfEncodeQueryText(name) + "=" + cfEncodeQueryText(value);
    separator = '&';
  }
  return "";
}

}  // namespace

std::string readRestAddress(const CMRestRequest& request, RestAddress& address) {
  std::string url = request.getURL();
  // Both come of a host that is given with one, and then hide the path from the server.
  if (const auto place = url.find_first_of("?#"); place != std::string::npos) {
    return std::string("The address must not hold a ") + (url[place] == '?' ? "query (?)" : "fragment (#)");
  }
  if (std::string refusal = appendQuery(request.getQueryParams(), url); !refusal.empty()) return refusal;
  if (std::string refusal = readURL(url, "address", CURLU_DISALLOW_USER | CURLU_PATH_AS_IS, address.handle);
      !refusal.empty()) {
    return refusal;
  }
  address.scheme = obtainPart(address.handle.get(), CURLUPART_SCHEME);
  if (const std::string query = obtainPart(address.handle.get(), CURLUPART_QUERY); !query.empty()) {
    address.target = obtainPart(address.handle.get(), CURLUPART_PATH) + "?" + query;
  }
  address.peer = obtainPeer(address.handle.get());
  return "";
}

std::string readRestProxy(const std::string& url, RestProxy& proxy) {
  if (url.empty()) return "";
  URLHandle handle;
  if (std::string refusal = readURL(url, "address of the proxy", 0, handle); !refusal.empty()) return refusal;
  proxy.peer = obtainPeer(handle.get());
  proxy.url = obtainPart(handle.get(), CURLUPART_SCHEME) + "://" + obtainPart(handle.get(), CURLUPART_HOST) + ":" +
              obtainPart(handle.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT);
  const bool decoded = readPart(handle.get(), CURLUPART_USER, CURLU_URLDECODE, proxy.user) != CURLUE_URLDECODE &&
                       readPart(handle.get(), CURLUPART_PASSWORD, CURLU_URLDECODE, proxy.password) != CURLUE_URLDECODE;
  return decoded ? "" : "The address of the proxy holds a control character";
}
