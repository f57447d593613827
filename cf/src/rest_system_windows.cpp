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

// libcurl tells of Schannel's verdicts in the names of Windows' constants and functions; other reasons are Windows'
// own sentences.
struct Verdict {
  std::string_view told;
  std::string_view words;
};
constexpr auto kVerdicts = std::to_array<Verdict>({
    {"CERT_TRUST_IS_PARTIAL_CHAIN", "its authority is not known"},
    {"CERT_TRUST_IS_UNTRUSTED_ROOT", "its authority is not trusted"},
    {"CERT_TRUST_IS_NOT_TIME_VALID", "it is not valid today"},
    {"CERT_TRUST_IS_REVOKED", "it was revoked"},
    {"CERT_TRUST_REVOCATION_STATUS_UNKNOWN", "whether it was revoked can't be found out"},
    {"SEC_E_UNTRUSTED_ROOT", "its authority is not trusted"},
    {"failed to match connection hostname", "it is not for this host"},
    {"SEC_E_WRONG_PRINCIPAL", "it is not for this host"},
});

}  // namespace

// Schannel looks its authorities up in the system's store.
const char* obtainAuthoritiesFolder() noexcept { return nullptr; }

bool prepareRestSocket(curl_socket_t socket) noexcept {
  // A socket that a layered provider made may be no handle of the system's; it is used all the same.
  static_cast<void>(SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0));
  return true;
}

// libcurl made the socket non-blocking. Once reading is shut down, Windows fails every read, and whatever comes resets
// the connection.
bool endWhenUnasked(curl_socket_t socket) noexcept {
  char byte = 0;
  const int count = recv(socket, &byte, 1, MSG_PEEK);
  if (count < 0) return WSAGetLastError() != WSAEWOULDBLOCK;
  if (count > 0) shutdown(socket, SD_BOTH);
  return true;
}

int closeRestSocket(curl_socket_t socket) noexcept { return closesocket(socket); }

std::string describeConnectError(int number) {
  for (const Reason& row : kReasons) {
    if (row.number == number) return std::string(row.text);
  }
  return "error " + std::to_string(number);
}

std::string_view clarifyVerdict(std::string_view text) noexcept {
  for (const Verdict& verdict : kVerdicts) {
    if (text.starts_with("schannel: ") && text.find(verdict.told) != std::string_view::npos) return verdict.words;
  }
  return text;
}

void stayLoaded() noexcept {
  HMODULE self = nullptr;
  static_cast<void>(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                                       reinterpret_cast<LPCWSTR>(&stayLoaded), &self));
}
