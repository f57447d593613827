// What requests need of the operating system; one source file for each.
#pragma once

#include <curl/curl.h>

#include <string>

/// The system's folder of certificate authorities, one file for each under the hash of its name, as libcurl was built
/// to look for it; null when the system has none.
const char* obtainAuthoritiesFolder() noexcept;

/// libcurl's CURLOPT_SOCKOPTFUNCTION: keeps a new socket from being inherited by programs that the host starts.
int prepareRestSocket(void* context, curl_socket_t socket, curlsocktype purpose) noexcept;

/// Why a connection could not be made, from the system's error number: "connection refused".
std::string describeConnectError(int number);

/// Keeps this shared library in the process for good. A name look-up that outlives its request runs code of libcurl's
/// on a thread of its own, which must not be unloaded under it.
void stayLoaded() noexcept;
