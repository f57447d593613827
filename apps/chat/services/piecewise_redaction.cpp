#include "services/piecewise_redaction.h"

#include <qai/redaction.hpp>

#include <cstddef>
#include <utility>

namespace {

unsigned char toByte(char c) { return static_cast<unsigned char>(c); }

}  // namespace

// A text can be cut behind any byte that no form of a secret has. The forms are the secret itself, and what percent
// signs, the escapes of JSON and base64 make of it.
PiecewiseRedaction::PiecewiseRedaction(const Secrets& secrets) : secrets_(secrets) {
  constexpr std::string_view kOfTheForms = "%+\\\"/-_=0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  constexpr unsigned kFirstBeyondAscii = 0x80;
  std::string bytes;
  for (const std::string& secret : secrets) {
    if (secret.size() >= qai::kShortestSecret) bytes += secret;
  }
  if (bytes.empty()) return;
  for (const char c : bytes.append(kOfTheForms)) inSecrets_.set(toByte(c));
  // All or none of them, so that no character is cut.
  bool isBeyondAscii = false;
  for (const char c : bytes) isBeyondAscii = isBeyondAscii || toByte(c) >= kFirstBeyondAscii;
  for (std::size_t byte = kFirstBeyondAscii; isBeyondAscii && byte < inSecrets_.size(); ++byte) inSecrets_.set(byte);
}

std::string PiecewiseRedaction::add(std::string_view piece) {
  std::size_t end = piece.size();
  while (end > 0 && inSecrets_.test(toByte(piece[end - 1]))) --end;
  if (end == 0) {
    held_ += piece;
    return "";
  }
  std::string text = std::exchange(held_, std::string(piece.substr(end)));
  return withoutSecrets(text.append(piece.substr(0, end)), secrets_);
}

std::string PiecewiseRedaction::finish() { return withoutSecrets(std::exchange(held_, {}), secrets_); }
