#include "rest_system.h"

#include <windows.h>

// Schannel looks its authorities up in the system's store.
const char* obtainAuthoritiesFolder() noexcept { return nullptr; }

int prepareRestSocket(void* /*context*/, curl_socket_t socket, curlsocktype /*purpose*/) noexcept {
  // A socket that a layered provider made may be no handle of the system's; it is used all the same.
  static_cast<void>(SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0));
  return CURL_SOCKOPT_OK;
}

void stayLoaded() noexcept {
  HMODULE self = nullptr;
  static_cast<void>(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                                       reinterpret_cast<LPCWSTR>(&stayLoaded), &self));
}
