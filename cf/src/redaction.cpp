// Texts without a secret that they quote.
#include "percent.h"

#include <cf/redaction.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

// A stretch of a text, up to but without `end`.
struct Stretch {
  std::size_t begin;  // its first byte
  std::size_t end;    // behind its last
};

// Finds `secret` among bytes that come one by one, each with the stretch of the text that it was read from. Takes
// time in proportion to their number, whatever they are (Knuth, Morris and Pratt).
class SecretFinder {
 public:
  // `secret` is not empty and outlives the object; what is found goes into `found`.
  SecretFinder(std::string_view secret, std::vector<Stretch>& found)
      : secret_(secret), shorter_(secret.size() + 1, 0), begins_(secret.size()), found_(found) {
    for (std::size_t at = 1, length = 0; at < secret.size(); ++at) {
      while (length > 0 && secret[at] != secret[length]) length = shorter_[length];
      if (secret[at] == secret[length]) ++length;
      shorter_[at + 1] = length;
    }
  }

  // The next byte, and where it stands.
  void feed(char byte, Stretch place) {
    while (matched_ > 0 && (matched_ == secret_.size() || secret_[matched_] != byte)) matched_ = shorter_[matched_];
    begins_[count_ % secret_.size()] = place.begin;
    ++count_;
    if (secret_[matched_] == byte) ++matched_;
    if (matched_ == secret_.size()) found_.push_back({begins_[count_ % secret_.size()], place.end});
  }

 private:
  std::string_view secret_;
  std::vector<std::size_t> shorter_;  // by length: the longest end of a match that is a beginning, too
  std::vector<std::size_t> begins_;   // where the last bytes stood, in turn
  std::vector<Stretch>& found_;
  std::size_t matched_ = 0;
  std::size_t count_ = 0;
};

// Gives the bytes of `code`, a character, in UTF-8.
template <class Give>
void giveCharacter(std::uint32_t code, Stretch place, Give give) {
  if (code < 0x80U) return give(static_cast<char>(code), place);
  const unsigned further = code < 0x800U ? 1U : code < 0x10000U ? 2U : 3U;
  constexpr std::array<std::uint32_t, 4> kFirst{0, 0xC0U, 0xE0U, 0xF0U};
  give(static_cast<char>(kFirst[further] | (code >> (6U * further))), place);
  for (unsigned left = further; left-- > 0;) give(static_cast<char>(0x80U | ((code >> (6U * left)) & 0x3FU)), place);
}

// A backslash's character in JSON: its bytes of the text, and the character; a size of 0 when it is none.
struct Escape {
  std::size_t size;    // with the backslash
  std::uint32_t code;  // the character
};

// The escape at `at`, where a backslash stands.
constexpr Escape readEscape(std::string_view text, std::size_t at) noexcept {
  constexpr std::string_view kLetters = "\"\\/bfnrt";
  constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
  if (at + 1 >= text.size()) return {0, 0};
  if (const std::size_t letter = kLetters.find(text[at + 1]); letter != std::string_view::npos)
    return {2, static_cast<unsigned char>(kMeanings[letter])};
  const int unit = text[at + 1] == 'u' ? hexNumber(text, at + 2, 4) : -1;
  if (unit < 0) return {0, 0};
  const bool high = (unit & 0xFC00) == 0xD800 && text.substr(at + 6, 2) == "\\u";
  const int low = high ? hexNumber(text, at + 8, 4) : -1;
  if (low < 0 || (low & 0xFC00) != 0xDC00) return {6, static_cast<std::uint32_t>(unit)};
  return {12,
          0x10000U + ((static_cast<std::uint32_t>(unit) & 0x3FFU) << 10U) + (static_cast<std::uint32_t>(low) & 0x3FFU)};
}

// As readPercentEncoded, for the escapes of JSON; gives places as a Stretch.
template <class Give>
void readJsonEscaped(std::string_view text, Give give) {
  for (std::size_t at = 0; at < text.size();) {
    const Escape escape = text[at] == '\\' ? readEscape(text, at) : Escape{0, 0};
    const std::size_t size = std::max<std::size_t>(escape.size, 1);
    if (escape.size == 0) {
      give(text[at], Stretch{at, at + size});
    } else {
      giveCharacter(escape.code, {at, at + size}, give);
    }
    at += size;
  }
}

// The part of a base64 text that `secret` alone decides when `before` bytes (0 to 2) stand before it in its group of
// three. `last` are the two digits for 62 and 63.
std::string base64Core(std::string_view secret, std::size_t before, std::string_view last) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  std::string core;
  std::uint32_t bits = 0;
  std::size_t count = 8 * before % 6;  // of the bits that make no digit yet
  bool foreign = count > 0;            // some of these are not the secret's
  for (const char byte : secret) {
    bits = (bits << 8U) | static_cast<unsigned char>(byte);
    for (count += 8; count >= 6;) {
      count -= 6;
      const std::uint32_t digit = (bits >> count) & 0x3FU;
      if (!foreign) core += digit < kDigits.size() ? kDigits[digit] : last[digit - kDigits.size()];
      foreign = false;
    }
  }
  return core;
}

constexpr bool isBase64(char c) noexcept {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/' ||
         c == '-' || c == '_';
}

// Finds `needle` as it stands.
void findPlain(std::string_view text, std::string_view needle, std::vector<Stretch>& found) {
  SecretFinder finder(needle, found);
  for (std::size_t at = 0; at < text.size(); ++at) finder.feed(text[at], {at, at + 1});
}

// Finds `needle` percent-encoded and escaped as in JSON; what is neither stands for itself.
void findEncoded(std::string_view text, std::string_view needle, std::vector<Stretch>& found) {
  const auto search = [&](auto read) {
    SecretFinder finder(needle, found);
    read([&finder](char character, Stretch place) { finder.feed(character, place); });
  };
  for (const bool plus : {false, true}) {  // '+' for a blank
    search([&](auto give) {
      readPercentEncoded(text, [&](char byte, std::size_t begin, std::size_t end) {
        give(plus && text[begin] == '+' ? ' ' : byte, Stretch{begin, end});
      });
    });
  }
  search([&](auto give) { readJsonEscaped(text, give); });
}

// Finds `secret` in base64, with whatever else was encoded along with it: the whole run of digits.
void findInBase64(std::string_view text, std::string_view secret, std::vector<Stretch>& found) {
  std::vector<Stretch> cores;
  for (std::size_t before = 0; before < 3; ++before) {
    const std::string usual = base64Core(secret, before, "+/");
    const std::string forAddresses = base64Core(secret, before, "-_");
    findPlain(text, usual, cores);
    if (usual == forAddresses) continue;
    findEncoded(text, usual, cores);  // '+' and '/' seldom stay as they are
    findPlain(text, forAddresses, cores);
  }
  std::sort(cores.begin(), cores.end(), [](Stretch a, Stretch b) { return a.begin < b.begin; });
  std::size_t kept = 0;  // the end of the last run
  for (Stretch core : cores) {
    if (core.end <= kept) continue;
    while (core.begin > kept && isBase64(text[core.begin - 1])) --core.begin;
    while (core.end < text.size() && (isBase64(text[core.end]) || text[core.end] == '=')) ++core.end;
    kept = core.end;
    found.push_back(core);
  }
}

// Where `secret` stands in `text`, in any of its forms.
std::vector<Stretch> findSecret(std::string_view text, std::string_view secret) {
  std::vector<Stretch> found;
  findPlain(text, secret, found);
  findEncoded(text, secret, found);
  findInBase64(text, secret, found);
  std::sort(found.begin(), found.end(), [](Stretch a, Stretch b) { return a.begin < b.begin; });
  return found;
}

}  // namespace

std::string cfRedacted(std::string_view text, std::string_view secret) {
  if (secret.size() < kCFShortestSecret) return std::string(text);
  std::string result;
  std::size_t kept = 0;  // up to here the text is dealt with
  for (const Stretch stretch : findSecret(text, secret)) {
    if (stretch.end <= kept) continue;
    // One that overlaps with the one before is the same place.
    if (stretch.begin >= kept) result.append(text.substr(kept, stretch.begin - kept)).append(kCFRedacted);
    kept = stretch.end;
  }
  return result.append(text.substr(kept));
}
