// What requests need of the operating system; one source file for each.
#pragma once

#include <curl/curl.h>

#include <string>
#include <string_view>

/// The system's folder of certificate authorities, one file for each under the hash of its name, as libcurl was built
/// to look for it; null when the system has none.
const char* obtainAuthoritiesFolder() noexcept;

/// Keeps a new socket from being inherited by programs that the host starts.
/// @return false when it can't.
bool prepareRestSocket(curl_socket_t socket) noexcept;

/// Ends an idle connection on which the server has sent bytes, since they answer nothing: libcurl would take them for
/// the reply to the next request, and finds a connection at its end instead.
/// @return whether it has ended and libcurl may not find that, as with Schannel, for which version 7.88 asks no socket
bool endWhenUnasked(curl_socket_t socket) noexcept;

/// @return 0 on success.
int closeRestSocket(curl_socket_t socket) noexcept;

/// Why a connection could not be made, from the system's error number: "connection refused".
std::string describeConnectError(int number);

/// libcurl's sentence about a certificate, in words where the system's TLS has names of constants and functions.
std::string_view clarifyVerdict(std::string_view text) noexcept;

/// Keeps this shared library in the process for good. A name look-up that outlives its request runs code of libcurl's
/// on a thread of its own, which must not be unloaded under it.
void stayLoaded() noexcept;
