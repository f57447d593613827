#include "sweep.h"

#include "shortage.h"

#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <optional>
#include <string_view>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kSample = 24;                  // points of each operation and kind of shortage in an everyday run
constexpr int kMostComplaints = 5;                   // of one operation
constexpr auto kLongest = std::chrono::seconds(10);  // for an operation of milliseconds

/// What the environment asks for: "all" points, the one of a number, or by default a sample.
std::string_view wantedPoints() {
  const char* points = std::getenv("QAI_ALLOCATION_POINTS");
  return points == nullptr ? "" : points;
}
bool runsAllPoints() { return wantedPoints() == "all"; }
std::optional<std::size_t> onlyPoint() {
  const std::string points(wantedPoints());
  return points.empty() || runsAllPoints() ? std::nullopt : std::optional<std::size_t>(std::stoul(points));
}

/// What a run that nothing goes wrong in gives.
struct Expected {
  std::string result;
  std::string state;
};

struct Totals {
  std::size_t points = 0, thrown = 0, told = 0, overcome = 0, foreignLeaks = 0;
};

/// Says at the end what was run.
class Report : public testing::Environment {
 public:
  static Totals& totals() {
    static Totals all;
    return all;
  }
  void TearDown() override {
    const Totals& all = totals();
    std::cout << all.points << " points: " << all.thrown << " left the operation as std::bad_alloc, " << all.told
              << " as a text, " << all.overcome << " did no harm; at " << all.foreignLeaks
              << " a library below lost memory\n";
  }
};
[[maybe_unused]] const auto* const report = testing::AddGlobalTestEnvironment(new Report);

class Sweep {
 public:
  Sweep(const std::string& name, const MakeScene& make) : name_(name), make_(make) {}

  std::size_t run() {
    // What stays for good is there afterwards.
    for (int i = 0; i < 3; ++i) count_ = runUntouched();
    for (const Shortage kind : {Shortage::Once, Shortage::Lasting}) {
      kind_ = kind;
      const std::size_t step = runsAllPoints() ? 1 : std::max<std::size_t>(count_ / kSample, 1);
      point_ = onlyPoint().value_or(std::hash<std::string>()(name_) % step);
      for (; runPoint() && complaints_ < kMostComplaints && !onlyPoint(); point_ += step) continue;
    }
    return count_;
  }

 private:
  /// Frees what OpenSSL keeps for each thread until its end: its queue of errors, above all.
  static void forgetThread() { OPENSSL_thread_stop(); }

  /// OpenSSL's random generator stops when it finds no memory for a new seed, which it takes now and then, and starts
  /// anew when it is next asked for a number. libcurl 7.88 asks none before it has looked whether the generator runs.
  static void restartRandomness() {
    unsigned char number = 0;
    RAND_bytes(&number, 1);
  }

  std::size_t runUntouched() {
    forgetThread();
    const auto scene = make_();
    beginShortage(Shortage::Once, std::string::npos);
    scene->run();
    endShortage();
    EXPECT_TRUE(scene->succeeded()) << name_ << ": " << scene->result();
    expected_ = {scene->result(), scene->state()};
    EXPECT_EQ(scene->complaint(), "") << name_;
    return allocationsInShortage();
  }

  void complain(const std::string& what) {
    ++complaints_;
    ADD_FAILURE() << name_ << ", point " << point_ << (kind_ == Shortage::Once ? ", once: " : " and on: ") << what
                  << "\nMemory ran out in" << describeFirstRefusal();
  }

  void compare(const std::string& what, const std::string& is, const std::string& shouldBe) {
    if (is != shouldBe) complain(what + " is\n  " + is + "\nin place of\n  " + shouldBe);
  }

  /// @return whether memory ran out.
  bool runPoint() {
    const bool ranOut = runScene();
    if (ranOut) count();
    forgetThread();
    // What a library below makes once and keeps is not there in a second run, and a leak is.
    if (blocksLeft() != 0 && runSceneQuietly() != 0) judgeLeak();
    return ranOut;
  }

  void count() const {
    Totals& all = Report::totals();
    ++all.points;
    ++(thrown_ ? all.thrown : succeeded_ ? all.overcome : all.told);
  }

  bool runScene() {
    const auto scene = make_();
    const std::string before = scene->state();
    const bool ranOut = runShort(*scene);
    if (!ranOut && !succeeded_) complain("failed though memory never ran out: " + scene->result());
    if (succeeded_) {
      compare("the result", scene->result(), expected_.result);
      compare("the state after it", scene->state(), expected_.state);
    } else {
      compare("the state after the failure", scene->state(), before);
      restartRandomness();
      scene->runAgain();
      if (!scene->succeeded()) complain("fails with memory back: " + scene->result());
      compare("the result with memory back", scene->result(), expected_.result);
      compare("the state with memory back", scene->state(), expected_.state);
    }
    compare("the end", scene->complaint(), "");
    return ranOut;
  }

  bool runShort(Scene& scene) {
    thrown_ = false;
    std::string other;
    announce();
    const auto start = Clock::now();
    beginShortage(kind_, point_);
    try {
      scene.run();
    } catch (const std::bad_alloc&) {
      thrown_ = true;
    } catch (const std::exception& error) {
      endShortage();
      other = error.what();
    } catch (...) {
      endShortage();
      other = "something that is no exception";
    }
    const bool ranOut = endShortage();
    if (Clock::now() - start > kLongest) complain("took too long");
    if (!other.empty()) complain("threw " + other);
    succeeded_ = !thrown_ && other.empty() && scene.succeeded();
    return ranOut;
  }

  /// @return the number of blocks that are left.
  std::size_t runSceneQuietly() {
    {
      const auto scene = make_();
      runShort(*scene);
    }
    forgetThread();
    return blocksLeft();
  }

  void judgeLeak() {
    traceBlocks(true);
    runSceneQuietly();
    traceBlocks(false);
    if (blocksLeft() == 0) return;
    if (onlyForeignBlocksLeft()) {
      ++Report::totals().foreignLeaks;
      if (onlyPoint()) std::cout << name_ << ", point " << point_ << ':' << describeBlocksLeft() << '\n';
    } else {
      complain("memory is lost\n" + describeBlocksLeft());
    }
  }

  /// So that a crash tells where it was.
  void announce() const;

  const std::string& name_;
  const MakeScene& make_;
  Expected expected_;
  std::size_t count_ = 0;
  Shortage kind_ = Shortage::Once;
  std::size_t point_ = 0;
  bool thrown_ = false;
  bool succeeded_ = false;
  int complaints_ = 0;
};

// What a signal's handler may read.
const char* sweptName = "";
std::size_t sweptPoint = 0;

void Sweep::announce() const {
  sweptName = name_.c_str();
  sweptPoint = point_;
}

void tellWhere(int signal) {
  endShortage();
  std::cerr << sweptName << ", point " << sweptPoint << ": signal " << signal << '\n';
  std::signal(signal, SIG_DFL);
  static_cast<void>(std::raise(signal));
}

}  // namespace

std::size_t sweep(const std::string& name, const MakeScene& make) {
  for (const int signal : {SIGSEGV, SIGABRT}) std::signal(signal, tellWhere);
  const std::size_t points = Sweep(name, make).run();
  sweptName = "(nothing swept)";
  return points;
}
