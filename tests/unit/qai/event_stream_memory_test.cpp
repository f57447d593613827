// How often streams of events and of lines allocate.
#include "qai_event_stream.h"
#include "support/allocation_probe.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kEnough = 10'000'000;

/// Long enough for no string to keep it without an allocation.
std::string longText() { return std::string(1000, 'a'); }

std::string eventsOf(std::size_t count) {
  std::string body;
  for (std::size_t event = 0; event < count; ++event) {
    body.append("event: ").append(longText()).append("\r\ndata: ").append(longText()).append("\r\n\r\n");
  }
  return body;
}

std::string linesOf(std::size_t count) {
  std::string body;
  for (std::size_t line = 0; line < count; ++line) body.append(longText()).append("\n");
  return body;
}

/// Feeds the body in parts of a size. @return the number of events
template <typename Stream>
std::size_t feed(Stream& stream, std::string_view body, std::size_t size) {
  std::size_t events = 0;
  for (std::size_t place = 0; place < body.size(); place += size) {
    stream.add(body.substr(place, size));
    while (stream.next()) ++events;
  }
  return events;
}

template <typename Stream>
void expectNoAllocation(Stream& stream, std::string_view body, std::size_t size, std::size_t events) {
  const std::size_t before = allocationCount();
  EXPECT_EQ(feed(stream, body, size), events) << size;
  EXPECT_EQ(allocationCount() - before, 0U) << size;
}

TEST(StreamMemory, IsNotAllocatedForEventsWithinAPart) {
  const std::string events = eventsOf(100);
  QAIEventStream ofEvents(kEnough);
  expectNoAllocation(ofEvents, events, events.size(), 100);
  expectNoAllocation(ofEvents, events, events.size() / 50, 100);
  const std::string lines = linesOf(100);
  QAILineStream ofLines(kEnough);
  expectNoAllocation(ofLines, lines, lines.size(), 100);
  expectNoAllocation(ofLines, lines, lines.size() / 50, 100);
}

TEST(StreamMemory, IsKeptFromEventToEventThatIsCut) {
  const std::string events = eventsOf(100) + "data: " + longText() + "\ndata: " + longText() + "\n\n";
  const std::string lines = linesOf(100);
  for (const std::size_t size : {1U, 7U, 900U, 1500U}) {
    QAIEventStream ofEvents(kEnough);
    feed(ofEvents, events, size);
    expectNoAllocation(ofEvents, events, size, 101);
    QAILineStream ofLines(kEnough);
    feed(ofLines, lines, size);
    expectNoAllocation(ofLines, lines, size, 100);
  }
}

TEST(StreamMemory, OfALongEventIsMadeRoomForInFewSteps) {
  const std::string body = "data: " + std::string(1'000'000, 'a') + "\n\n";
  QAIEventStream stream(kEnough);
  const std::size_t before = allocationCount();
  EXPECT_EQ(feed(stream, body, 1), 1U);
  EXPECT_LT(allocationCount() - before, 40U);
}

TEST(StreamMemory, IsNotTakenForAnEventThatIsTooLong) {
  const std::string body = "data: " + std::string(1'000'000, 'a') + "\n\n";
  for (const std::size_t size : {std::size_t{1}, std::size_t{1000}, body.size()}) {
    QAIEventStream stream(10'000);
    const std::ptrdiff_t before = allocatedBytes();
    mostAllocatedBytes();
    EXPECT_EQ(feed(stream, body, size), 0U);
    EXPECT_TRUE(stream.isTooLong());
    EXPECT_LT(mostAllocatedBytes() - before, 40'000) << size;
  }
}

}  // namespace
