#include "services/ledger.h"

namespace {

/// How a matter is told of: as so much of something that went several times, or by number.
struct Wording {
  const char* one;
  const char* many;   // null: told by size
  bool isAlwaysTold;  // also when there was none
};

constexpr std::array<Wording, kMatters> kWordings{
    Wording{"structure and instructions", nullptr, true}, Wording{"earlier turns", nullptr, false},
    Wording{"question", "questions", true}, Wording{"kind of error", "kinds of error", true},
    Wording{"row", "rows", true}};

std::string plural(std::size_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

}  // namespace

std::string describeSize(std::size_t bytes) {
  constexpr std::size_t kKilo = 1000;
  constexpr std::size_t kMany = 10 * kKilo;  // below that, bytes say more
  if (bytes < kMany) return plural(bytes, "byte", "bytes");
  if (bytes < kMany * kKilo) return std::to_string((bytes + kKilo / 2) / kKilo) + " kB";
  return std::to_string((bytes / kKilo + kKilo / 2) / kKilo) + " MB";
}

void Ledger::note(const std::string& destination, Matter matter, std::size_t bytes, std::size_t count) {
  Entry& entry = sent_[destination].at(static_cast<std::size_t>(matter));
  entry.count += count;
  entry.bytes += bytes;
}

std::string Ledger::describe() const {
  if (sent_.empty()) return "Nothing has been sent yet.";
  std::string text;
  for (const auto& [destination, entries] : sent_) {
    text += (text.empty() ? "To " : "\nTo ") + destination;
    const char* separator = ": ";
    for (std::size_t i = 0; i < kMatters; ++i) {
      const Wording& wording = kWordings.at(i);
      const Entry& entry = entries.at(i);
      if (entry.count == 0 && !wording.isAlwaysTold) continue;
      text += separator;
      separator = "; ";
      if (wording.many != nullptr) {
        text += plural(entry.count, wording.one, wording.many);
        if (entry.bytes > 0) text += " (" + describeSize(entry.bytes) + ")";
      } else {
        text +=
            plural(entry.count, "time", "times") + " " + wording.one + " (" + describeSize(entry.bytes) + " together)";
      }
    }
    text += ".";
  }
  return text;
}
