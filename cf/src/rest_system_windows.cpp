#include "rest_system.h"

#include <winsock2.h>
// Behind winsock2.h, which replaces a part of it.
#include <windows.h>

#include <array>
#include <string_view>

namespace {

// Windows' own sentences come in the user's language and code page.
struct Reason {
  int number;
  std::string_view text;
};
constexpr auto kReasons = std::to_array<Reason>({
    {WSAEACCES, "permission denied"},
    {WSAEADDRNOTAVAIL, "cannot assign requested address"},
    {WSAECONNREFUSED, "connection refused"},
    {WSAECONNRESET, "connection reset by peer"},
    {WSAEHOSTUNREACH, "no route to host"},
    {WSAENETDOWN, "network is down"},
    {WSAENETUNREACH, "network is unreachable"},
    {WSAETIMEDOUT, "connection timed out"},
});

}  // namespace

// Schannel looks its authorities up in the system's store.
const char* obtainAuthoritiesFolder() noexcept { return nullptr; }

int prepareRestSocket(void* /*context*/, curl_socket_t socket, curlsocktype /*purpose*/) noexcept {
  // A socket that a layered provider made may be no handle of the system's; it is used all the same.
  static_cast<void>(SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0));
  return CURL_SOCKOPT_OK;
}

std::string describeConnectError(int number) {
  for (const Reason& row : kReasons) {
    if (row.number == number) return std::string(row.text);
  }
  return "error " + std::to_string(number);
}

void stayLoaded() noexcept {
  HMODULE self = nullptr;
  static_cast<void>(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                                       reinterpret_cast<LPCWSTR>(&stayLoaded), &self));
}
