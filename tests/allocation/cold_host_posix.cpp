// A host whose memory runs out in its very first turn, while libcurl and OpenSSL are made ready.
//
// cold_host ADDRESS CA_FILE EXPECTED: takes a turn in a process of its own for each point, with the memory running out
// there. Ends with 0 when no process crashed and none was told of a success unless EXPECTED is "a reply". Whatever was
// left undone by then, OpenSSL may never do in that process; so only what is true of any process is asked for.
#include "shortage.h"
#include "support/host.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <new>
#include <string>

namespace {

constexpr std::size_t kSample = 24;

/// What a process tells of its turn.
struct Told {
  std::size_t allocations;
  bool ranOut, thrown, answered, answeredAgain;
};

struct Totals {
  std::size_t points = 0, thrown = 0, texts = 0, answered = 0, lastingly = 0;
};

/// A whole use of the library, from its beginning.
bool takeTurn(const std::string& address, const CMRestGlobalSettings& settings) {
  QAISetHTTPSettings(settings);
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(OPENAI_v1, CF::createHTTPPoolCenter(), "sk-cold", address));
  assistant->setAssistantProperties([](IQAIProperties* properties) { properties->setProperty("model", "m"); });
  const Owned<IQAISession> session(assistant->createSession().first);
  const auto [message, error] = assistant->addMessage(session.get(), "What is here?");
  const Owned<IQAIMessage> reply(message);
  return reply != nullptr;
}

void turnShortly(const std::string& address, const CMRestGlobalSettings& settings, Shortage kind, std::size_t point,
                 Told& told) {
  beginShortage(kind, point);
  try {
    told.answered = takeTurn(address, settings);
  } catch (const std::bad_alloc&) {
    told.thrown = true;
  }
  told.ranOut = endShortage();
  told.allocations = allocationsInShortage();
  told.answeredAgain = takeTurn(address, settings);
}

class ColdHost {
 public:
  ColdHost(std::string address, const std::string& caFile, bool isReplyExpected)
      : address_(std::move(address)),
        isReplyExpected_(isReplyExpected),
        told_(static_cast<Told*>(
            mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    settings_.caFile = caFile;
    settings_.totalTimeout = std::chrono::seconds(5);
  }

  int run() {
    if (told_ == MAP_FAILED || !runPoint(Shortage::Once, std::string::npos)) return 1;
    const char* const points = std::getenv("QAI_ALLOCATION_POINTS");
    const bool all = points != nullptr && std::string(points) == "all";
    const std::size_t step = all ? 1 : std::max<std::size_t>(told_->allocations / kSample, 1);
    for (const Shortage kind : {Shortage::Once, Shortage::Lasting}) {
      for (std::size_t point = step / 2; runPoint(kind, point) && told_->ranOut; point += step) continue;
    }
    std::cout << totals_.points << " points of a first turn: " << totals_.thrown << " left it as std::bad_alloc, "
              << totals_.texts << " as a text, " << totals_.answered << " did no harm; after " << totals_.lastingly
              << " no turn of the process succeeds\n";
    return isFine_ ? 0 : 1;
  }

 private:
  /// @return false when the process did what it must not.
  bool runPoint(Shortage kind, std::size_t point) {
    *told_ = {};
    const pid_t child = fork();
    if (child == 0) {
      turnShortly(address_, settings_, kind, point, *told_);
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0) {
      std::cerr << "point " << point << (kind == Shortage::Once ? ", once" : " and on") << ": the process ended with "
                << status << '\n';
      isFine_ = false;
    } else if (!isReplyExpected_ && (told_->answered || told_->answeredAgain)) {
      std::cerr << "point " << point << ": an unfit certificate was accepted\n";
      isFine_ = false;
    } else if (!told_->ranOut && isReplyExpected_ && !told_->answered) {
      std::cerr << "no reply though there was memory\n";
      isFine_ = false;
    }
    if (told_->ranOut) count();
    return isFine_ || status == 0;
  }

  void count() {
    ++totals_.points;
    ++(told_->thrown ? totals_.thrown : told_->answered ? totals_.answered : totals_.texts);
    if (isReplyExpected_ && !told_->answeredAgain) ++totals_.lastingly;
  }

  const std::string address_;
  const bool isReplyExpected_;
  CMRestGlobalSettings settings_;
  Told* const told_;
  Totals totals_;
  bool isFine_ = true;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: cold_host ADDRESS CA_FILE EXPECTED\n";
    return 1;
  }
  return ColdHost(argv[1], argv[2], argv[3] == std::string("a reply")).run();
}
