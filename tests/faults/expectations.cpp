#include "expectations.h"

#include <cf/text.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>
#include <ostream>
#include <thread>

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr auto kSlack = 10s;
#else
constexpr auto kSlack = 1s;
#endif

std::size_t countEntries(const char* folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

std::string base64(std::string_view bytes) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i + 2 < bytes.size(); i += 3) {
    const auto at = [&](std::size_t place) { return static_cast<unsigned>(static_cast<unsigned char>(bytes[place])); };
    const unsigned group = at(i) << 16U | at(i + 1) << 8U | at(i + 2);
    for (const unsigned shift : {18U, 12U, 6U, 0U}) text += kDigits[group >> shift & 63U];
  }
  return text;
}

/// What of the key would be seen. Neither percent-encoding nor JSON changes letters and digits; in base64 the key may
/// begin at any of three places within a group.
std::vector<std::string> makeTraces() {
  std::vector<std::string> traces{"canary", "7f3a", "9c"};
  for (std::size_t skipped = 0; skipped < 3; ++skipped) traces.push_back(base64(kKey.substr(skipped)));
  return traces;
}

struct Expected {
  Verdict verdict;
  std::vector<std::string> texts;  // of a failure; any of them
  std::string reply;               // of a success
};

Expected expectedReading(const Cell& cell) {
  const auto found = cell.fault.readings.find(cell.operation.reading);
  const ReadingFault& fault = found->second;
  if (!cell.fault.texts.empty() || fault.body.empty()) {
    return {fault.verdict, cell.fault.texts, cell.operation.healthyText};
  }
  return {fault.verdict, {fault.text}, fault.text};
}

Expected expected(const Cell& cell) {
  const Expected healthy{Verdict::Success, {}, cell.operation.healthyText};
  if (cell.operation.ignoresFailure && cell.fault.place == Place::Usual) return healthy;
  if (!cell.fault.readings.empty()) return expectedReading(cell);
  const bool isOfContent = cell.fault.verdict == Verdict::NoJson || cell.fault.verdict == Verdict::Format;
  if (isOfContent && cell.operation.reading == Reading::Nothing) return healthy;
  return {cell.fault.verdict, cell.fault.texts, cell.operation.healthyText};
}

/// The sentences that are to be told; one that ends in "*" is only the beginning.
std::vector<std::string> sentences(const Expected& expected, const Cell& cell, const CellRun& outcome) {
  switch (expected.verdict) {
    case Verdict::NoJson:
      if (cell.operation.reading == Reading::Stream)
        return {cell.operation.noJsonError, cell.operation.incompleteError};
      return {cell.operation.noJsonError};
    case Verdict::Format:
      return {cell.operation.formatError};
    case Verdict::Incomplete:
      return {cell.operation.incompleteError};
    case Verdict::TheRequest:
      return {outcome.request};
    default:
      break;
  }
  std::vector<std::string> texts = expected.texts;
  for (std::string& text : texts) {
    if (const auto place = text.find("{}"); place != std::string::npos) text.replace(place, 2, outcome.peer);
  }
  return texts;
}

bool fits(const std::string& text, const std::string& sentence) {
  if (!sentence.ends_with('*')) return text == sentence;
  return text.starts_with(sentence.substr(0, sentence.size() - 1));
}

void expectSuccess(const Told& told, const std::string& reply) {
  EXPECT_TRUE(told.gave);
  EXPECT_EQ(told.error, "");
  EXPECT_EQ(told.text, reply);
}

void expectFailure(const Expected& expected, const Cell& cell, const CellRun& outcome) {
  const std::string& error = outcome.told.error;
  EXPECT_FALSE(outcome.told.gave);
  EXPECT_EQ(outcome.told.text, "");
  EXPECT_THAT(error, Not(IsEmpty()));
  const std::vector<std::string> told = sentences(expected, cell, outcome);
  const bool isOne = std::any_of(told.begin(), told.end(), [&](const auto& sentence) { return fits(error, sentence); });
  EXPECT_TRUE(isOne) << "told: " << error.substr(0, 500) << "\nexpected: " << testing::PrintToString(told);
  if (expected.verdict != Verdict::Status && expected.verdict != Verdict::TheRequest) {
    EXPECT_EQ(cfToUTF8(error), error);
  }
  if (expected.verdict != Verdict::TheRequest) expectNoKey(error);
}

}  // namespace

Holdings currentHoldings() {
  // Reading a folder takes a descriptor for a moment, always.
  return {.descriptors = countEntries("/proc/self/fd"), .threads = countEntries("/proc/self/task")};
}

void PrintTo(const Holdings& holdings, std::ostream* out) {
  *out << holdings.descriptors << " descriptors, " << holdings.threads << " threads";
}

Holdings settle(const Holdings& expected) {
  const auto end = std::chrono::steady_clock::now() + 10s;
  Holdings holdings = currentHoldings();
  while (holdings != expected && std::chrono::steady_clock::now() < end) {
    std::this_thread::yield();
    holdings = currentHoldings();
  }
  return holdings;
}

void expectVerdict(const Cell& cell, const CellRun& outcome) {
  const Expected table = expected(cell);
  if (table.verdict == Verdict::Either) {
    EXPECT_EQ(outcome.told.gave, outcome.told.error.empty());
    expectNoKey(outcome.told.error);
  } else if (table.verdict == Verdict::Success) {
    expectSuccess(outcome.told, table.reply);
  } else {
    expectFailure(table, cell, outcome);
  }
}

void expectWithinLimits(const Cell& cell, const CellRun& outcome) {
  EXPECT_LT(outcome.time, cell.fault.limit + cell.fault.wait + kSlack);
  EXPECT_LE(outcome.memory, 5 * kReplyLimit);
}

void expectNoKey(const std::string& text) {
  static const std::vector<std::string> kTraces = makeTraces();
  for (const std::string& trace : kTraces) EXPECT_EQ(text.find(trace), std::string::npos) << "holds " << trace;
}
