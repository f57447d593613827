#include "rest_options.h"

#include "rest_system.h"
#include "rest_text.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <new>
#include <string_view>

namespace {

using namespace std::chrono_literals;

constexpr std::size_t kUploadBufferDefault = std::size_t{64} << 10;
constexpr std::size_t kUploadBufferMost = std::size_t{256} << 10;

// A balancer or a router that drops an idle connection in silence leaves a request on it without an answer. The least
// patient of those in wide use wait a minute.
constexpr long kLongestIdleSeconds = 50;

// Sets options until one is refused.
class Options {
 public:
  explicit Options(CURL* easy) : easy_(easy) {}

  template <typename Value>
  void set(CURLoption option, Value value) {
    if (code_ == CURLE_OK) code_ = curl_easy_setopt(easy_, option, value);
  }
  CURLcode getCode() const { return code_; }

 private:
  CURL* easy_;
  CURLcode code_ = CURLE_OK;
};

std::size_t takeBody(char* data, std::size_t /*one*/, std::size_t size, void* context) {
  return static_cast<RestReply*>(context)->takeBody({data, size}) ? size : CURL_WRITEFUNC_ERROR;
}

std::size_t takeHeader(char* data, std::size_t /*one*/, std::size_t size, void* context) {
  return static_cast<RestReply*>(context)->takeHeaderLine({data, size}) ? size : 0;
}

std::size_t giveBody(char* buffer, std::size_t one, std::size_t count, void* context) {
  return static_cast<RestUpload*>(context)->read(buffer, one * count);
}

// Back to the beginning, when a connection turns out dead and another one is taken.
int moveInBody(void* context, curl_off_t offset, int origin) {
  const bool done = origin == SEEK_SET && static_cast<RestUpload*>(context)->moveTo(offset);
  return done ? CURL_SEEKFUNC_OK : CURL_SEEKFUNC_CANTSEEK;
}

// Whole milliseconds as libcurl takes them; what is no limit (0 or less) is the longest time that it knows.
long toLimit(std::chrono::milliseconds time) {
  constexpr auto kLongest = std::chrono::milliseconds(std::numeric_limits<int>::max());
  return static_cast<long>((time.count() <= 0 ? kLongest : std::min(time, kLongest)).count());
}

long toLong(std::uint64_t value) {
  return static_cast<long>(std::min<std::uint64_t>(value, std::numeric_limits<int>::max()));
}

void setSecurity(Options& options, const CMRestGlobalSettings& settings) {
  options.set(CURLOPT_PROTOCOLS_STR, "http,https");
  options.set(CURLOPT_FOLLOWLOCATION, 0L);
  options.set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
  options.set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  options.set(CURLOPT_HTTP09_ALLOWED, 0L);
  for (const CURLoption option : {CURLOPT_SSL_VERIFYPEER, CURLOPT_PROXY_SSL_VERIFYPEER}) options.set(option, 1L);
  for (const CURLoption option : {CURLOPT_SSL_VERIFYHOST, CURLOPT_PROXY_SSL_VERIFYHOST}) options.set(option, 2L);
  for (const CURLoption option : {CURLOPT_SSLVERSION, CURLOPT_PROXY_SSLVERSION}) {
    options.set(option, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  }
  // libcurl's default would read the system's whole bundle for each connection, for about 20 ms; the folder is looked
  // up by the hash of the one name that is needed.
  const char* folder = obtainAuthoritiesFolder();
  if (folder != nullptr) {
    for (const CURLoption option : {CURLOPT_CAPATH, CURLOPT_PROXY_CAPATH}) options.set(option, folder);
  }
  if (folder != nullptr || !settings.caFile.empty()) {
    const char* file = settings.caFile.empty() ? nullptr : settings.caFile.c_str();
    for (const CURLoption option : {CURLOPT_CAINFO, CURLOPT_PROXY_CAINFO}) options.set(option, file);
  }
  if (settings.caFile.empty()) return;
  // Windows asks whether a certificate was revoked, and a private authority seldom has a place to ask.
  for (const CURLoption option : {CURLOPT_SSL_OPTIONS, CURLOPT_PROXY_SSL_OPTIONS}) {
    options.set(option, static_cast<long>(CURLSSLOPT_REVOKE_BEST_EFFORT));
  }
}

void setLimits(Options& options, const CMRestGlobalSettings& settings, bool isStreaming) {
  options.set(CURLOPT_NOSIGNAL, 1L);
  options.set(CURLOPT_MAXAGE_CONN, kLongestIdleSeconds);
  options.set(CURLOPT_QUICK_EXIT, 1L);  // a name look-up that hangs must not hold up the end of the request
  options.set(CURLOPT_TIMEOUT_MS, toLimit(settings.totalTimeout));
  options.set(CURLOPT_CONNECTTIMEOUT_MS, toLimit(settings.connectTimeout));
  // Not for what is received as it comes: RestPace looks after that.
  options.set(CURLOPT_LOW_SPEED_LIMIT, isStreaming ? 0L : toLong(settings.lowSpeedBytes));
  options.set(CURLOPT_LOW_SPEED_TIME, toLong(static_cast<std::uint64_t>(std::max(settings.lowSpeedTime, 0s).count())));
  // Only for a length that the server announces; RestReply limits what is collected.
  if (isStreaming) return;
  constexpr std::uint64_t kMost = std::numeric_limits<curl_off_t>::max();
  options.set(CURLOPT_MAXFILESIZE_LARGE,
              static_cast<curl_off_t>(std::min<std::uint64_t>(settings.maxReplyBytes, kMost)));
}

// An empty proxy, set as such, keeps libcurl from looking into the environment.
void setProxy(Options& options, const RestProxy& proxy) {
  options.set(CURLOPT_PROXY, proxy.url.c_str());
  options.set(CURLOPT_NOPROXY, "");
  options.set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  if (proxy.user.empty() && proxy.password.empty()) return;
  options.set(CURLOPT_PROXYUSERNAME, proxy.user.c_str());
  options.set(CURLOPT_PROXYPASSWORD, proxy.password.c_str());
}

void setRequest(Options& options, const RestPlan& plan, const CMRestGlobalSettings& settings) {
  options.set(CURLOPT_CURLU, plan.address.handle.get());
  // libcurl 7.88 sends a request without its query when it finds no memory for that, and does not tell; a target that
  // it is given it does not take apart. A proxy that gets the whole address gets it from the handle.
  const bool isWholeForProxy = !plan.proxy.url.empty() && plan.address.scheme == "http";
  if (!plan.address.target.empty() && !isWholeForProxy) {
    options.set(CURLOPT_REQUEST_TARGET, plan.address.target.c_str());
  }
  options.set(CURLOPT_PATH_AS_IS, 1L);
  if (!plan.isStreaming) options.set(CURLOPT_ACCEPT_ENCODING, "");  // all that libcurl can decode
  options.set(CURLOPT_USERAGENT, settings.userAgent.c_str());
  options.set(CURLOPT_HTTPHEADER, plan.headers.get());
  if (plan.method == RestMethod::Post) options.set(CURLOPT_POST, 1L);
  if (plan.method == RestMethod::Delete) options.set(CURLOPT_CUSTOMREQUEST, "DELETE");
}

void setCallbacks(Options& options) {
  options.set(CURLOPT_READFUNCTION, &giveBody);
  options.set(CURLOPT_SEEKFUNCTION, &moveInBody);
  options.set(CURLOPT_WRITEFUNCTION, &takeBody);
  options.set(CURLOPT_HEADERFUNCTION, &takeHeader);
}

void setBody(Options& options, RestUpload* body) {
  const std::size_t size = body == nullptr ? 0 : body->size();
  options.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(size));
  options.set(CURLOPT_POSTFIELDS, body == nullptr ? "" : body->obtainWhole());  // not copied; null for the functions
  options.set(CURLOPT_READDATA, body);
  options.set(CURLOPT_SEEKDATA, body);
  options.set(CURLOPT_UPLOAD_BUFFERSIZE, static_cast<long>(std::clamp(size, kUploadBufferDefault, kUploadBufferMost)));
}

void setReply(Options& options, RestReply* reply) {
  options.set(CURLOPT_WRITEDATA, reply);
  options.set(CURLOPT_HEADERDATA, reply);
  options.set(CURLOPT_ERRORBUFFER, reply == nullptr ? nullptr : reply->errorText.data());
}

void appendLine(HeaderList& list, const std::string& line) {
  curl_slist* longer = curl_slist_append(list.get(), line.c_str());
  if (longer == nullptr) throw std::bad_alloc();
  static_cast<void>(list.release());
  list.reset(longer);
}

std::string appendHeader(HeaderList& list, const std::string& name, const std::string& value) {
  if (!isToken(name)) return "\"" + plainText(name) + "\" can't be the name of a header field";
  if (holdsControlCharacter(value)) return "The header field \"" + name + "\" holds a control character";
  // libcurl takes "Name:" as the wish to leave the field out, and "Name;" as an empty one.
  const bool blank = value.find_first_not_of(' ') == std::string::npos;
  appendLine(list, blank ? name + ";" : name + ": " + value);
  return "";
}

std::string appendHeaders(HeaderList& list, const CMRestParams& fields) {
  for (const auto& [name, value] : fields) {
    if (std::string refusal = appendHeader(list, name, value); !refusal.empty()) return refusal;
  }
  return "";
}

std::string planHeaders(const RestOrder& order, RestPlan& plan) {
  CMRestParams fields;
  if (order.session.hasAuthorization()) {
    fields.emplace_back("Authorization", order.session.getAuthorizationHeaderValue());
  }
  const CMRestParams& ofSession = order.session.getHeaderParams();
  fields.insert(fields.end(), ofSession.begin(), ofSession.end());
  fields.insert(fields.end(), order.request.getHeaderParams().begin(), order.request.getHeaderParams().end());
  if (plan.hasBody) {
    fields.emplace_back("Content-Type", "application/json");
    const auto isAccept = [](const auto& field) { return isSameHeaderName(field.first, "Accept"); };
    if (std::none_of(fields.begin(), fields.end(), isAccept)) fields.emplace_back("Accept", "application/json");
  }
  if (std::string refusal = appendHeaders(plan.headers, fields); !refusal.empty()) return refusal;
  appendLine(plan.headers, "Expect:");  // a wait for "100 Continue" would cost a second with servers that send none
  if (!plan.hasBody) appendLine(plan.headers, "Content-Type:");
  return "";
}

}  // namespace

std::string planRequest(const RestOrder& order, RestPlan& plan) {
  const CMRestGlobalSettings& settings = order.settings;
  if (holdsControlCharacter(settings.userAgent)) return "The user agent holds a control character";
  if (holdsControlCharacter(settings.caFile)) return "The name of the file of authorities holds a control character";
  plan.method = order.method;
  plan.hasBody = order.body != nullptr;
  plan.isStreaming = order.receiver != nullptr;
  if (std::string refusal = readRestAddress(order.request, plan.address); !refusal.empty()) return refusal;
  if (std::string refusal = readRestProxy(settings.proxyURL, plan.proxy); !refusal.empty()) return refusal;
  return planHeaders(order, plan);
}

CURLcode applyPlan(CURL* easy, const RestPlan& plan, const CMRestGlobalSettings& settings) {
  Options options(easy);
  setSecurity(options, settings);
  setLimits(options, settings, plan.isStreaming);
  setProxy(options, plan.proxy);
  setRequest(options, plan, settings);
  setCallbacks(options);
  return options.getCode();
}

CURLcode applyTransfer(CURL* easy, const RestPlan& plan, RestUpload* body, RestReply& reply) {
  Options options(easy);
  setReply(options, &reply);
  if (plan.method == RestMethod::Post) setBody(options, body);
  return options.getCode();
}

CURLcode forgetTransfer(CURL* easy, const RestPlan& plan) {
  Options options(easy);
  setReply(options, nullptr);
  if (plan.method == RestMethod::Post) setBody(options, nullptr);
  return options.getCode();
}
