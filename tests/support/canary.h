// A secret in all the forms in which a text could give it away.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace canary {

/// A key that looks different in every form, and passes for one: it holds no control character.
inline const std::string kKey = R"(sk-canary"/+%7f3a9 c\>>>???k)";

inline std::string hex(unsigned char byte, std::string_view digits) {
  return {digits[byte >> 4U], digits[byte & 0x0FU]};
}

/// With every byte but letters, digits and `plain` as %XX.
inline std::string percentEncoded(std::string_view text, std::string_view plain, std::string_view digits) {
  std::string result;
  for (const char c : text) {
    const bool letter = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    result += letter || plain.find(c) != std::string_view::npos ? std::string(1, c)
                                                                : "%" + hex(static_cast<unsigned char>(c), digits);
  }
  return result;
}

/// `text` with `to` for each `from`.
inline std::string replaced(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
    text.replace(at, from.size(), to);
  return text;
}

/// As in a JSON string: what must be escaped, and `further`, behind a backslash.
inline std::string jsonEscaped(std::string_view text, std::string_view further = "") {
  std::string result;
  for (const char c : text) {
    if (c == '"' || c == '\\' || further.find(c) != std::string_view::npos) result += '\\';
    result += c;
  }
  return result;
}

/// With every byte, of ASCII alone, as \u00XX.
inline std::string unicodeEscaped(std::string_view text) {
  std::string result;
  for (const char c : text) result += "\\u00" + hex(static_cast<unsigned char>(c), "0123456789abcdef");
  return result;
}

/// In base64, with '=' at the end.
inline std::string base64(std::string_view text) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string result;
  for (std::size_t at = 0; at < text.size(); at += 3) {
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i)
      group = group << 8U | (at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0U);
    for (std::size_t i = 0; i < 4; ++i) result += at + i > text.size() ? '=' : kDigits[group >> (18U - 6U * i) & 0x3FU];
  }
  return result;
}

/// As it stands in the base64 of a longer text: the digits that `secret` alone decides behind `before` bytes, in both
/// alphabets.
inline void addBase64Forms(std::string_view secret, std::size_t before, std::vector<std::string>& forms) {
  const std::size_t firstDigit = (before * 8 + 5) / 6;
  const std::size_t digits = (before + secret.size()) * 8 / 6 - firstDigit;
  const std::string form = base64(std::string(before, '\0') + std::string(secret)).substr(firstDigit, digits);
  forms.push_back(form);
  forms.push_back(replaced(replaced(form, "+", "-"), "/", "_"));
}

}  // namespace canary

/// `secret` as it is, percent-encoded in several ways, escaped as in JSON, and as base64 of any text around it shows
/// it.
inline std::vector<std::string> canaryForms(std::string_view secret) {
  std::vector<std::string> forms{std::string(secret), canary::jsonEscaped(secret), canary::jsonEscaped(secret, "/"),
                                 canary::unicodeEscaped(secret)};
  for (const std::string_view digits : {"0123456789ABCDEF", "0123456789abcdef"}) {
    for (const std::string_view plain : {"-._~", "-._~!$&'()*+,;=:@", "-._~/"}) {
      forms.push_back(canary::percentEncoded(secret, plain, digits));
      const bool plusIsItself = plain.find('+') != std::string_view::npos;
      if (!plusIsItself) forms.push_back(canary::replaced(forms.back(), "%20", "+"));
    }
  }
  for (const std::size_t before : {0U, 1U, 2U}) canary::addBase64Forms(secret, before, forms);
  return forms;
}

/// The form in which `text` gives `secret` away; "" when it does in none.
inline std::string appearsIn(std::string_view text, std::string_view secret) {
  for (const std::string& form : canaryForms(secret)) {
    if (text.find(form) != std::string_view::npos) return form;
  }
  return "";
}
