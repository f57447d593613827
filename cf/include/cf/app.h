/// @file
/// The application's services: the factory of REST clients and the texts of their errors.
#pragma once

#include <cf/export.h>
#include <cf/rest.h>

#include <cstdint>
#include <string>

/// How a request ended. 0 is success (a status of 200 to 299); 100 to 999 is the HTTP status of a reply that was
/// none; the values here are failures of the transport.
enum class CFRestError : std::int32_t {
  None = 0,
  BadRequest = 10'001,    ///< nothing was sent: the address, a header or a setting can't be used
  HostNotFound = 10'002,  ///< the name (of the host or the proxy) can't be looked up
  CouldNotConnect = 10'003,
  TLSFailed = 10'004,  ///< no secure connection: certificate, name, version
  TimedOut = 10'005,
  ConnectionLost = 10'006,  ///< ended before the reply was complete
  NotHTTP = 10'007,         ///< the answer is no HTTP that can be understood
  ReplyTooLarge = 10'008,
  ProxyRefused = 10'009,
  Cancelled = 10'010,
  Failed = 10'011,  ///< anything else
  Stopped = 10'012  ///< by who received the reply as it came
};

/// What an error code means, in texts for the user: plain UTF-8 without query strings, header values or passwords.
struct CSErrorRecord {
  std::string title;    ///< the kind of failure: "Could not connect"
  std::string message;  ///< the whole sentence: "Could not connect to api.example.com:443: connection refused"
};

/// Runs requests, one at a time, in the calling thread. An execute operation returns 0 or the error code, and sets
/// `*response` to what the server answered (owned by the caller) or to null when there was no complete answer. It
/// throws nothing but std::bad_alloc and what a receiver throws.
class CF_TYPE ICSRestClient {
 public:
  virtual ~ICSRestClient() = default;
  /// Runs a GET.
  virtual std::int32_t executeGet(const CMRestGetRequest& request, CMRestResourceResponse** response) = 0;
  /// Runs a POST.
  virtual std::int32_t executePost(const CMRestPostRequest& request, CMRestResourceResponse** response) = 0;
  /// Runs a DELETE.
  virtual std::int32_t executeDelete(const CMRestDeleteRequest& request, CMRestResourceResponse** response) = 0;
  /// The sentence about the last request that failed in the transport ("" when none did): names host and port.
  virtual const std::string& obtainFailureText() const noexcept = 0;
  /// Runs a POST whose reply goes to `receiver` while it comes, if that wants it: the response has no body then. The
  /// reply is asked for uncompressed, since what compresses holds text back.
  virtual std::int32_t executePostStreaming(const CMRestPostRequest& request, ICSRestReceiver& receiver,
                                            CMRestResourceResponse** response) = 0;
};

class ICSAppFactory;

/// Makes REST clients.
class CF_TYPE ICSRestClientFactory {
 public:
  virtual ~ICSRestClientFactory() = default;
  /// A new client, owned by the caller. `settings` is copied; `session` is borrowed and read by each request.
  virtual ICSRestClient* createRestClient(ICSAppFactory* app, const CMRestGlobalSettings& settings,
                                          const CMRestSession* session) = 0;
};

/// Turns error codes into texts.
class CF_TYPE ICSErrorDescriptionService {
 public:
  virtual ~ICSErrorDescriptionService() = default;
  /// Fills `record` for `errorCode`. A transport failure is told with what `client`, which returned the code, met;
  /// without a client (null) the message is the title.
  virtual void describeError(std::int32_t errorCode, const ICSRestClient* client, CSErrorRecord& record) const = 0;
};

/// Gives access to the application's services; they belong to the factory.
class CF_TYPE ICSAppFactory {
 public:
  virtual ~ICSAppFactory() = default;
  /// Where REST clients come from.
  virtual ICSRestClientFactory* obtainRestClientFactory() = 0;
  /// Where the texts of errors come from.
  virtual ICSErrorDescriptionService* obtainErrorDescriptionService() = 0;
};

namespace CF {
/// The process's app factory; lives as long as the process. May be called from any thread.
CF_API ICSAppFactory* obtainAppFactory();
/// A new pool centre. Whoever takes it owns it: an assistant destroys the one that it was created with.
CF_API ICSHTTPPoolCenter* createHTTPPoolCenter();
}  // namespace CF
