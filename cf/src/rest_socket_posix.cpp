#include "rest_socket.h"

#include <fcntl.h>

int prepareRestSocket(void* /*context*/, curl_socket_t socket, curlsocktype /*purpose*/) noexcept {
  return fcntl(socket, F_SETFD, FD_CLOEXEC) == 0 ? CURL_SOCKOPT_OK : CURL_SOCKOPT_ERROR;
}
