#include "rest_failure.h"

#include "rest_pace.h"
#include "rest_system.h"
#include "rest_text.h"

#include <cf/text.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <new>
#include <string_view>

namespace {

enum class Detail { None, System, Certificate, Library };

// "{}" stands for the peer with its port, "{host}" without, and "{first}" for who comes first on the way. The detail
// follows after a colon.
struct Wording {
  CURLcode code;
  CFRestError error;
  std::string_view text;
  Detail detail = Detail::None;
};

constexpr std::string_view kLost = "The connection to {} was lost before the reply was complete";
constexpr std::string_view kNoReply = "The connection to {} was lost before a reply; the service may have acted";
constexpr std::string_view kNotHTTP = "{} did not answer in HTTP";
constexpr std::string_view kNotTrusted = "The certificate of {} can't be trusted";
constexpr std::string_view kNotSecure = "No secure connection to {}";

constexpr auto kWordings = std::to_array<Wording>({
    {CURLE_URL_MALFORMAT, CFRestError::BadRequest, "The host name {host} can't be used"},  // too long
    {CURLE_COULDNT_RESOLVE_HOST, CFRestError::HostNotFound, "Could not find the host {host}"},
    {CURLE_COULDNT_RESOLVE_PROXY, CFRestError::HostNotFound, "Could not find {host}"},
    {CURLE_COULDNT_CONNECT, CFRestError::CouldNotConnect, "Could not connect to {first}", Detail::System},
    {CURLE_PEER_FAILED_VERIFICATION, CFRestError::TLSFailed, kNotTrusted, Detail::Certificate},
    {CURLE_SSL_CONNECT_ERROR, CFRestError::TLSFailed, kNotSecure, Detail::Certificate},
    {CURLE_SSL_CACERT_BADFILE, CFRestError::TLSFailed, kNotSecure, Detail::Library},
    {CURLE_SSL_CIPHER, CFRestError::TLSFailed, kNotSecure, Detail::Library},
    {CURLE_SSL_CERTPROBLEM, CFRestError::TLSFailed, kNotSecure, Detail::Library},
    {CURLE_SSL_ISSUER_ERROR, CFRestError::TLSFailed, kNotSecure, Detail::Library},
    {CURLE_GOT_NOTHING, CFRestError::ConnectionLost, kLost},
    {CURLE_PARTIAL_FILE, CFRestError::ConnectionLost, kLost},
    {CURLE_SEND_ERROR, CFRestError::ConnectionLost, kLost},
    {CURLE_RECV_ERROR, CFRestError::ConnectionLost, kLost},
    {CURLE_UNSUPPORTED_PROTOCOL, CFRestError::NotHTTP, kNotHTTP},  // the scheme was checked: it is the reply's version
    {CURLE_WEIRD_SERVER_REPLY, CFRestError::NotHTTP, kNotHTTP},
    {CURLE_BAD_CONTENT_ENCODING, CFRestError::NotHTTP, "The compressed reply from {} can't be read"},
    {CURLE_WRITE_ERROR, CFRestError::NotHTTP, "The compressed reply from {} goes on behind its end"},  // not of ours
    {CURLE_PROXY, CFRestError::ProxyRefused, "{} refused the connection"},
});

constexpr Wording kOther{CURLE_OK, CFRestError::Failed, "The request to {} failed", Detail::Library};

const Wording& findWording(CURLcode code) {
  for (const Wording& row : kWordings) {
    if (row.code == code) return row;
  }
  return kOther;
}

long obtainNumber(CURL* easy, CURLINFO info) {
  long number = 0;
  curl_easy_getinfo(easy, info, &number);
  return number;
}

std::chrono::microseconds obtainTime(CURL* easy, CURLINFO info) {
  curl_off_t time = 0;
  curl_easy_getinfo(easy, info, &time);
  return std::chrono::microseconds(time);
}

// Whether the request got as far as being sent.
bool wasConnected(CURL* easy) { return obtainTime(easy, CURLINFO_PRETRANSFER_TIME_T).count() > 0; }

// Who failed: the proxy until the way through it is open, then the server.
std::string namePeer(CURL* easy, const RestPlan& plan, std::string RestPeer::*part) {
  const bool proxy =
      !plan.proxy.url.empty() && !wasConnected(easy) && obtainNumber(easy, CURLINFO_HTTP_CONNECTCODE) == 0;
  return proxy ? "the proxy " + plan.proxy.peer.*part : plan.address.peer.*part;
}

std::string compose(std::string_view wording, CURL* easy, const RestPlan& plan) {
  std::string text(wording);
  if (const auto place = text.find("{host}"); place != std::string::npos) {
    return text.replace(place, 6, namePeer(easy, plan, &RestPeer::host));
  }
  // However far the request got before, on a kept connection that could not be written to: libcurl connects anew then.
  if (const auto place = text.find("{first}"); place != std::string::npos) {
    const bool direct = plan.proxy.url.empty();
    return text.replace(place, 7, direct ? plan.address.peer.name : "the proxy " + plan.proxy.peer.name);
  }
  text.replace(text.find("{}"), 2, namePeer(easy, plan, &RestPeer::name));
  if (text.starts_with("the ")) text[0] = 'T';
  return text;
}

// OpenSSL's reason without its codes and without the peer, who is named already:
// "OpenSSL/3.0.19: error:0A000102:SSL routines::unsupported protocol",
// "OpenSSL SSL_connect: Connection reset by peer in connection to api.example:443 ".
// "" where a code ("SSL_ERROR_SYSCALL") or a part of OpenSSL ("EVP lib") is all that it tells.
std::string_view obtainOpenSSLReason(std::string_view text) {
  constexpr std::string_view kConnecting = "OpenSSL SSL_connect: ";
  if (text.starts_with(kConnecting)) {
    text = text.substr(kConnecting.size(), text.rfind(" in connection to ") - kConnecting.size());
  } else if (const auto place = text.rfind("::"); text.starts_with("OpenSSL/") && place != std::string_view::npos) {
    text.remove_prefix(place + 2);
  }
  return text.starts_with("SSL_ERROR_") || text.ends_with(" lib") ? std::string_view() : text;
}

// libcurl's sentence about a certificate without its own introduction ("SSL certificate problem: ").
std::string obtainCertificateDetail(std::string_view text) {
  text = clarifyVerdict(text);
  for (const std::string_view introduction : {"SSL certificate problem: ", "SSL: ", "schannel: "}) {
    if (text.starts_with(introduction)) text.remove_prefix(introduction.size());
  }
  return plainTextWithin(obtainOpenSSLReason(text));
}

std::string obtainDetail(const Wording& wording, CURLcode code, CURL* easy, const RestReply& reply) {
  switch (wording.detail) {
    case Detail::None:
      return "";
    case Detail::System: {
      const long number = obtainNumber(easy, CURLINFO_OS_ERRNO);
      if (number == 0) return "";
      return plainTextWithin(describeConnectError(static_cast<int>(number)));
    }
    case Detail::Certificate:
      if (std::string detail = obtainCertificateDetail(reply.errorText.data()); !detail.empty()) return detail;
      break;
    case Detail::Library:
      break;
  }
  return plainTextWithin(curl_easy_strerror(code));
}

// Whether a byte of a reply came.
bool hasBegun(CURL* easy) { return obtainTime(easy, CURLINFO_STARTTRANSFER_TIME_T).count() > 0; }

// Whether the connection ended behind the request without a byte of a reply.
bool isUnanswered(CURLcode code, CURL* easy, const RestReply& reply) {
  if (reply.stopped) return true;
  if (!wasConnected(easy)) return false;
  return code == CURLE_GOT_NOTHING || (code == CURLE_RECV_ERROR && !hasBegun(easy));
}

RestFailure tellLongField(CURL* easy, const RestPlan& plan) {
  // libcurl says the same of a line beyond its limit of 100 KiB and when it finds no memory for one.
  constexpr std::size_t kNeededForALine = std::size_t{256} << 10;
  ::operator delete(::operator new(kNeededForALine));
  return {CFRestError::ReplyTooLarge, compose("A header field of the reply from {} is too long", easy, plan)};
}

// What of a reply libcurl could not read, where its code says something else; None when it does not.
RestFailure judgeForm(CURLcode code, CURL* easy, const RestPlan& plan, const RestReply& reply) {
  constexpr std::string_view kInChunks = " in chunked-encoding";
  if (!hasBegun(easy)) return {};
  if (code == CURLE_OUT_OF_MEMORY && !reply.headersEnded) return tellLongField(easy, plan);
  if (code == CURLE_BAD_FUNCTION_ARGUMENT) {
    return {CFRestError::NotHTTP, compose("A header field of the reply from {} can't be read", easy, plan)};
  }
  std::string_view told = reply.errorText.data();
  if (code != CURLE_RECV_ERROR || !told.ends_with(kInChunks)) return {};
  told.remove_suffix(kInChunks.size());
  if (told == "Out of memory") return tellLongField(easy, plan);  // of one behind the last chunk
  return {CFRestError::NotHTTP,
          compose("The chunks of the reply from {} can't be read: ", easy, plan) + plainTextWithin(told)};
}

std::string toSeconds(std::chrono::milliseconds time) {
  return cfNumberToText(std::chrono::duration<double>(time).count()) + " s";
}

RestFailure tellTimeout(CURL* easy, const RestPlan& plan, const CMRestGlobalSettings& settings,
                        const RestReply& reply) {
  constexpr auto kRounding = std::chrono::milliseconds(50);  // libcurl ends a little before the limit, by its rounding
  const bool totalOver =
      settings.totalTimeout.count() > 0 && obtainTime(easy, CURLINFO_TOTAL_TIME_T) + kRounding >= settings.totalTimeout;
  if (reply.tooSlow) {
    const auto window = RestPace(settings, plan.isStreaming).getWindow();
    const std::string_view wording =
        plan.isStreaming ? "Nothing came from {} for " : "The connection to {} was too slow for ";
    return {CFRestError::TimedOut, compose(wording, easy, plan) + toSeconds(window)};
  }
  if (!wasConnected(easy)) {
    const auto limit = totalOver ? settings.totalTimeout : settings.connectTimeout;
    return {CFRestError::TimedOut, compose("Could not connect to {} within ", easy, plan) + toSeconds(limit)};
  }
  if (totalOver) {
    return {CFRestError::TimedOut, compose("No reply from {} within ", easy, plan) + toSeconds(settings.totalTimeout)};
  }
  return {CFRestError::TimedOut,
          compose("The connection to {} was too slow for ", easy, plan) + toSeconds(settings.lowSpeedTime)};
}

std::string toSize(std::size_t bytes) {
  constexpr std::size_t kKiB = std::size_t{1} << 10;
  constexpr std::size_t kMiB = std::size_t{1} << 20;
  if (bytes % kMiB == 0) return std::to_string(bytes / kMiB) + " MiB";
  if (bytes % kKiB == 0) return std::to_string(bytes / kKiB) + " KiB";
  return std::to_string(bytes) + " bytes";
}

// The status with which the proxy refused: to open a tunnel, or to pass a plain request on; else 0.
long obtainProxyRefusal(CURL* easy, const RestPlan& plan) {
  constexpr long kProxyAuthenticationRequired = 407;
  if (plan.proxy.url.empty()) return 0;
  const long tunnel = obtainNumber(easy, CURLINFO_HTTP_CONNECTCODE);
  if (tunnel != 0) return isSuccess(tunnel) ? 0 : tunnel;
  const long status = obtainNumber(easy, CURLINFO_RESPONSE_CODE);
  return status == kProxyAuthenticationRequired ? status : 0;
}

}  // namespace

RestFailure judgeTransfer(CURLcode code, CURL* easy, const RestPlan& plan, const CMRestGlobalSettings& settings,
                          const RestReply& reply) {
  if (reply.thrown != nullptr) std::rethrow_exception(reply.thrown);
  if (reply.isRefused) return {CFRestError::Stopped, "Stopped"};
  if (reply.tooLarge || code == CURLE_FILESIZE_EXCEEDED) {
    return {CFRestError::ReplyTooLarge,
            compose("The reply from {} is larger than ", easy, plan) + toSize(settings.maxReplyBytes)};
  }
  if (reply.headerTooLarge) {
    return {CFRestError::ReplyTooLarge,
            compose("The header fields of the reply from {} are larger than ", easy, plan) + toSize(kMostHeaderBytes)};
  }
  if (isUnanswered(code, easy, reply)) return {CFRestError::ConnectionLost, compose(kNoReply, easy, plan)};
  if (const long status = obtainProxyRefusal(easy, plan); status != 0) {
    return {CFRestError::ProxyRefused,
            "The proxy " + plan.proxy.peer.name + " refused the connection: HTTP " + std::to_string(status)};
  }
  if (code == CURLE_OPERATION_TIMEDOUT) return tellTimeout(easy, plan, settings, reply);
  if (code == CURLE_OK) {
    // libcurl takes a connection that ends among the header fields for the end of an empty reply.
    if (!reply.headersEnded) return {CFRestError::ConnectionLost, compose(kLost, easy, plan)};
    const long status = obtainNumber(easy, CURLINFO_RESPONSE_CODE);
    if (status < 100 || status > 999) return {CFRestError::NotHTTP, compose(kNotHTTP, easy, plan)};
    return {};
  }
  if (RestFailure failure = judgeForm(code, easy, plan, reply); failure.error != CFRestError::None) return failure;
  const Wording& wording = findWording(code);
  const std::string detail = obtainDetail(wording, code, easy, reply);
  return {wording.error, compose(wording.text, easy, plan) + (detail.empty() ? "" : ": " + detail)};
}
