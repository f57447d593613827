// What a new socket is given before it is used; one source file for each system.
#pragma once

#include <curl/curl.h>

/// libcurl's CURLOPT_SOCKOPTFUNCTION: keeps the socket from being inherited by programs that the host starts.
int prepareRestSocket(void* context, curl_socket_t socket, curlsocktype purpose) noexcept;
