// Every fault of the table, at every service and in every operation that sends, on a new and on a kept connection, over
// http and https: what the host is told, and that nothing is left behind.
#include "expectations.h"
#include "support/allocation_probe.h"
#include "support/assertion_log.h"
#include "support/platform.h"
#include "support/test_ca.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <set>
#include <vector>

namespace {

using std::chrono::steady_clock;

/// What all cells share: certificates, and a server that nobody may ask.
struct Surroundings {
  TestCA ca;
  TLSContext tls = makeTLSContext(ca.issue("localhost"));
  RawServer elsewhere{raw::reply(200, "{}")};
  sockets::Handle refusing = sockets::refuseOnLoopback();

  static Surroundings& get() {
    static Surroundings surroundings;
    return surroundings;
  }
};

/// Whether the cell differs from others: behind its reply nothing happens to a connection that is not kept, and within
/// an operation nobody can say when the client has read a reply.
bool isPlayable(const Cell& cell) {
  const Between between = cell.fault.between;
  const bool isTimed = between != Between::Nothing && between != Between::BytesWithTheReply;
  if (between != Between::Nothing && (!cell.warm || !cell.service.usesPool)) return false;
  if (isTimed && cell.operation.isWithin) return false;
  if (cell.fault.isOfWholeReply && cell.operation.reading == Reading::Stream) return false;
  return cell.fault.readings.empty() || cell.fault.readings.contains(cell.operation.reading);
}

std::vector<Cell> playableCells(const Fault& fault, const FaultedService& service) {
  std::vector<Cell> cells;
  for (const Operation& operation : service.operations) {
    for (const bool warm : {false, true}) {
      for (const bool secure : {false, true}) {
        const Cell cell{fault, service, operation, warm, secure};
        if (isPlayable(cell)) cells.push_back(cell);
      }
    }
  }
  return cells;
}

/// A fault at a service.
struct Row {
  std::size_t number;
  std::string name;
  std::vector<Cell> cells;
};
void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

std::vector<Row> allRows() {
  std::vector<Row> rows;
  for (const Fault& fault : allFaults()) {
    for (const FaultedService& service : faultedServices()) {
      std::vector<Cell> cells = playableCells(fault, service);
      if (!cells.empty()) rows.push_back({rows.size(), fault.name + "_at_" + service.name, std::move(cells)});
    }
  }
  return rows;
}

class Matrix : public testing::TestWithParam<Row> {
 protected:
  void SetUp() override { Surroundings::get(); }
  void TearDown() override { QAISetHTTPSettings({}); }

  void play(const Cell& cell);

  const DefaultBrokenPipeSignal signal_;
  const AssertionLog assertions_;
};

CMRestGlobalSettings settings() {
  CMRestGlobalSettings settings;
  settings.caFile = Surroundings::get().ca.getFile();
  return settings;
}

CMRestGlobalSettings settingsDuring(const Cell& cell) {
  CMRestGlobalSettings result = settings();
  result.maxReplyBytes = kReplyLimit;
  const bool isCancelled = cell.fault.cancels && cell.service.usesPool;
  if (!isCancelled) result.totalTimeout = cell.fault.limit;
  return result;
}

/// A server elsewhere, for a request that goes to a wrong one.
class WrongPlace {
 public:
  explicit WrongPlace(const Cell& cell) {
    Surroundings& around = Surroundings::get();
    const std::string scheme = cell.secure ? "https://localhost:" : "http://127.0.0.1:";
    if (cell.fault.place == Place::Refusing) url_ = scheme + std::to_string(sockets::getPort(around.refusing));
    if (cell.fault.place != Place::OtherScheme) return;
    server_.emplace(std::vector<raw::Script>{{raw::Close{}}}, cell.secure ? nullptr : around.tls);
    server_->resetAfter(1);  // what comes is no request
    url_ = scheme + std::to_string(server_->getPort());
  }
  const std::string& getURL() const { return url_; }

 private:
  std::optional<RawServer> server_;
  std::string url_;
};

std::string peerOf(const std::string& url) { return url.substr(url.find("://") + 3); }

/// One host in one cell.
class Player {
 public:
  explicit Player(const Cell& cell)
      : cell_(cell),
        around_(Surroundings::get()),
        server_(cell, cell.secure ? around_.tls : nullptr, around_.elsewhere.getPort()),
        wrongPlace_(cell),
        pool_(CF::createHTTPPoolCenter()),
        host_{.assistant = Owned<IQAIAssistant>(QAICreateAssistant(cell.service.type, pool_, kKey, server_.getURL())),
              .session = nullptr} {}

  void prepare() {
    QAISetHTTPSettings(settings());
    if (!cell_.operation.startsBare) {
      ASSERT_EQ(prepareTurn(host_), "");
      ASSERT_EQ(runTurn(host_).error, "");
    }
    ASSERT_EQ(runModels(host_).error, "");
    ASSERT_TRUE(server_.endPreparation());
    if (cell_.service.usesPool) {
      ASSERT_EQ(server_.getConnections(), 1U);
    }
    if (!wrongPlace_.getURL().empty()) moveTo(wrongPlace_.getURL());
    saved_ = save();
  }

  CellRun run() {
    QAISetHTTPSettings(settingsDuring(cell_));
    server_.beginFault([pool = pool_] { pool->cancel(); });
    mostAllocatedBytes();
    const std::ptrdiff_t before = allocatedBytes();
    const auto start = steady_clock::now();
    Told told = cell_.operation.run(host_);
    const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - start);
    const auto memory = static_cast<std::size_t>(mostAllocatedBytes() - before);
    server_.endFault();
    QAISetHTTPSettings(settings());
    const std::vector<std::string> faulted = server_.getFaulted();
    const std::string& url = wrongPlace_.getURL().empty() ? server_.getURL() : wrongPlace_.getURL();
    return {std::move(told), time, memory, peerOf(url), faulted.empty() ? "" : faulted.back()};
  }

  void expectUnchanged() const {
    const std::string now = save();
    EXPECT_EQ(now, saved_);
    expectNoKey(now);
  }

  void expectNextTurn(bool succeeded) {
    if (succeeded && cell_.operation.endsSession) host_.session.reset();
    if (!wrongPlace_.getURL().empty()) moveTo(server_.getURL());
    ASSERT_EQ(prepareTurn(host_), "");
    const Told next = runTurn(host_);
    EXPECT_EQ(next.error, "");
    EXPECT_EQ(next.text, kReply);
    expectNoKey(save());
  }

  void expectFaultMet() const {
    // On a machine with much else to do, a limit may be met before the request is there.
    if (!cell_.fault.play || cell_.fault.limit.count() != 0) return;
    const std::size_t count = server_.getFaulted().size();
    EXPECT_GE(count, 1U) << "the fault was not met";
    const bool isPolled = cell_.operation.reading == Reading::RunState;
    if (!isPolled) {
      EXPECT_EQ(count, 1U) << "the request was sent again";
    }
  }

 private:
  // The Assistants service tells its server of new settings; the address itself holds at once.
  void moveTo(const std::string& url) { assign(*host_.assistant, {{"api_host", url}, {"model", kModel}}); }

  std::string save() const { return host_.session == nullptr ? "" : host_.session->obtainSessionData(); }

  const Cell& cell_;
  Surroundings& around_;
  FaultServer server_;
  const WrongPlace wrongPlace_;
  ICSHTTPPoolCenter* pool_;
  Host host_;
  std::string saved_;
};

int playedCells = 0;

void Matrix::play(const Cell& cell) {
  SCOPED_TRACE(cell.fault.name + " / " + cell.service.name + " / " + cell.operation.name +
               (cell.warm ? " / warm" : " / cold") + (cell.secure ? " / https" : " / http"));
  const Holdings before = currentHoldings();
  {
    Player player(cell);
    ASSERT_NO_FATAL_FAILURE(player.prepare());
    const CellRun outcome = player.run();
    expectVerdict(cell, outcome);
    expectWithinLimits(cell, outcome);
    player.expectFaultMet();
    if (!outcome.told.error.empty()) player.expectUnchanged();
    player.expectNextTurn(outcome.told.error.empty());
  }
  EXPECT_EQ(settle(before), before);
  EXPECT_EQ(Surroundings::get().elsewhere.getConnections(), 0U);
  for (const std::string& assertion : assertions_.all()) expectNoKey(assertion);
  ++playedCells;
}

/// Every day one cell in seven, beginning elsewhere from row to row, so that all operations and ways are met.
TEST_P(Matrix, LeavesNothingButWhatTheHostIsTold) {
  static const bool kAll = std::getenv("QAI_EVERY_FAULT") != nullptr;
  const std::vector<Cell>& cells = GetParam().cells;
  const std::size_t step = kAll ? 1 : std::min<std::size_t>(cells.size(), 7);
  for (std::size_t i = GetParam().number % step; i < cells.size(); i += step) play(cells[i]);
}

INSTANTIATE_TEST_SUITE_P(Faults, Matrix, testing::ValuesIn(allRows()), [](const auto& row) { return row.param.name; });

TEST(FaultTable, HasAtLeastEightyFaults) {
  std::set<std::string> names;
  for (const Fault& fault : allFaults()) names.insert(fault.name);
  EXPECT_EQ(names.size(), allFaults().size()) << "two faults have one name";
  EXPECT_GE(names.size(), 80U);
}

/// Before the first request, and what was played at the end.
class WholeRun : public testing::Environment {
 public:
  void SetUp() override { ASSERT_TRUE(extendProbeToCurl()) << "libcurl does not start"; }
  void TearDown() override { testing::Test::RecordProperty("cells", playedCells); }
};
const auto* const kWholeRun = testing::AddGlobalTestEnvironment(new WholeRun);

}  // namespace
