#include "support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <span>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{20};      // with a terminal; only a failing test waits that long
constexpr std::chrono::milliseconds kGlance{100};  // how often a silent program is looked after

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

/// A file descriptor with its owner.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  ~Descriptor() { close(); }
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }

  int get() const { return number_; }
  void close() {
    if (number_ >= 0) ::close(std::exchange(number_, -1));
  }

 private:
  int number_;
};

/// A running program; ended, if need be, with the object.
class Running {
 public:
  explicit Running(pid_t id) : id_(id) {}
  ~Running() {
    if (id_ < 0) return;
    signal(SIGKILL);
    wait();
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  pid_t id() const { return id_; }
  void signal(int number) const { kill(id_, number); }
  /// Whether it has; wait() tells how.
  bool hasEnded() const {
    siginfo_t end{};
    return waitid(P_PID, static_cast<id_t>(id_), &end, WEXITED | WNOHANG | WNOWAIT) == 0 && end.si_pid == id_;
  }
  /// Ends it if it does not do so itself before `deadline`.
  int waitUntil(Clock::time_point deadline) {
    while (!hasEnded() && Clock::now() < deadline) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    if (!hasEnded()) signal(SIGKILL);
    return wait();
  }
  int wait() {
    int status = 0;
    waitpid(std::exchange(id_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  pid_t id_;
};

class SpawnPlan {
 public:
  SpawnPlan() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawnattr_init(&attributes_);
    // The program starts as from a shell, whatever this process does with its signals.
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes_, &none);
    setFlags(0);
  }
  ~SpawnPlan() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;

  void setFlags(int further) {
    posix_spawnattr_setflags(&attributes_,
                             static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | further));
  }
  void duplicate(int from, int to) { posix_spawn_file_actions_adddup2(&actions_, from, to); }
  void open(int as, const char* path) { posix_spawn_file_actions_addopen(&actions_, as, path, O_RDWR, 0); }

  pid_t start(const Command& command) {
    pid_t id = -1;
    const std::vector<char*> arguments = pointersTo(command.arguments);
    const std::vector<char*> environment = pointersTo(command.environment);
    if (posix_spawn(&id, arguments.front(), &actions_, &attributes_, arguments.data(), environment.data()) != 0) {
      throw std::runtime_error("can't start " + command.arguments.front());
    }
    return id;
  }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

std::pair<Descriptor, Descriptor> makePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

/// Moves what is there into `text`; closes at the end of the stream.
void drain(Descriptor& from, std::string& text) {
  std::array<char, 4096> buffer{};
  const ssize_t size = read(from.get(), buffer.data(), buffer.size());
  if (size <= 0) {
    from.close();
  } else {
    text.append(buffer.data(), static_cast<std::size_t>(size));
  }
}

}  // namespace

struct Child::Process {
  Running program;
  Descriptor out;
  Descriptor err;
  std::chrono::milliseconds patience;

  /// Waits until one of `streams` has something, its end included. @return whether it has: false when the program has
  /// ended and left its streams to others, whom nobody waits for, and when the time has run out.
  bool awaitSomething(std::span<pollfd> streams) const;
};

bool Child::Process::awaitSomething(std::span<pollfd> streams) const {
  const auto deadline = Clock::now() + patience;
  for (;;) {
    const bool isLast = program.hasEnded() || Clock::now() >= deadline;
    const auto most = isLast ? 0 : static_cast<int>(std::min(kGlance, patience).count());
    if (poll(streams.data(), streams.size(), most) > 0) return true;
    if (isLast) return false;
  }
}

const int kEndedByCtrlC = 128 + SIGINT;

Child::Child(const Command& command) {
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));  // a program may end before it has read its input
  auto [inRead, inWrite] = makePipe();
  auto [outRead, outWrite] = makePipe();
  auto [errRead, errWrite] = makePipe();
  SpawnPlan plan;
  plan.duplicate(inRead.get(), STDIN_FILENO);
  plan.duplicate(outWrite.get(), STDOUT_FILENO);
  if (command.outputFails) plan.open(STDOUT_FILENO, "/dev/full");
  plan.duplicate(errWrite.get(), STDERR_FILENO);
  const pid_t id = plan.start(command);
  // The inputs of these tests fit into a pipe. A program that has ended already needs none.
  [[maybe_unused]] const ssize_t fed = write(inWrite.get(), command.input.data(), command.input.size());
  // NOLINTNEXTLINE(modernize-make-unique): clang 14 can't make an aggregate by it
  process_.reset(new Process{Running(id), std::move(outRead), std::move(errRead), command.patience});
}

Child::~Child() = default;

std::string Child::obtainCommandLine() const {
  std::ostringstream text;
  text << std::ifstream("/proc/" + std::to_string(process_->program.id()) + "/cmdline").rdbuf();
  return text.str();
}

void Child::closeOutput() { process_->out.close(); }

void Child::interrupt() { process_->program.signal(SIGINT); }

bool Child::terminate() {
  process_->program.signal(SIGTERM);
  return true;
}

std::optional<std::string> Child::readLine() {
  std::string line;
  for (;;) {
    std::array<pollfd, 1> stream{pollfd{process_->out.get(), POLLIN, 0}};
    const bool isThere = process_->awaitSomething(stream);
    if (!isThere && !process_->program.hasEnded())
      throw std::runtime_error("no line came in time" + (line.empty() ? "" : "; it began: " + line));
    char c = '\0';
    if (!isThere || read(process_->out.get(), &c, 1) != 1) return line.empty() ? std::nullopt : std::optional(line);
    if (c == '\n') return line;
    line += c;
  }
}

ProgramRun Child::finish() {
  auto& [program, out, err, patience] = *process_;
  ProgramRun outcome;
  while (out.get() >= 0 || err.get() >= 0) {
    std::array<pollfd, 2> streams{pollfd{out.get(), POLLIN, 0}, pollfd{err.get(), POLLIN, 0}};
    if (!process_->awaitSomething(streams)) break;
    if (streams[0].revents != 0) drain(out, outcome.out);
    if (streams[1].revents != 0) drain(err, outcome.err);
  }
  const bool isSilent = out.get() >= 0 || err.get() >= 0;  // or has ended
  outcome.code = program.waitUntil(Clock::now() + (isSilent ? std::chrono::milliseconds(0) : patience));
  return outcome;
}

ProgramRun runCommand(const Command& command) { return Child(command).finish(); }

struct TerminalChild::Process {
  Running program;
  Descriptor terminal;
  std::string shown{};  // not yet waited for

  void write(std::string_view keys) const {
    if (::write(terminal.get(), keys.data(), keys.size()) < 0) throw std::runtime_error("can't type");
  }
  bool readMore(Clock::time_point deadline);
};

TerminalChild::TerminalChild(const Command& command) {
  Descriptor terminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (terminal.get() < 0 || grantpt(terminal.get()) != 0 || unlockpt(terminal.get()) != 0) {
    throw std::runtime_error("no terminal");
  }
  SpawnPlan plan;
  // The first terminal that the leader of a session opens becomes its controlling one, which Ctrl-C needs.
  plan.setFlags(POSIX_SPAWN_SETSID);
  plan.open(STDIN_FILENO, ptsname(terminal.get()));
  plan.duplicate(STDIN_FILENO, STDOUT_FILENO);
  plan.duplicate(STDIN_FILENO, STDERR_FILENO);
  // NOLINTNEXTLINE(modernize-make-unique): clang 14 can't make an aggregate by it
  process_.reset(new Process{Running(plan.start(command)), std::move(terminal)});
}

TerminalChild::~TerminalChild() = default;

void TerminalChild::type(std::string_view keys) { process_->write(keys); }

void TerminalChild::typeCtrlC() { process_->write("\x03"); }

void TerminalChild::typeEnd() { process_->write("\x04"); }

bool TerminalChild::Process::readMore(Clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
  pollfd stream{terminal.get(), POLLIN, 0};
  if (left.count() <= 0 || poll(&stream, 1, static_cast<int>(left.count())) <= 0) return false;
  std::array<char, 4096> buffer{};
  const ssize_t size = read(terminal.get(), buffer.data(), buffer.size());
  if (size <= 0) return false;  // a terminal whose program is gone gives an error
  shown.append(buffer.data(), static_cast<std::size_t>(size));
  return true;
}

std::string TerminalChild::waitFor(std::string_view text) {
  const auto deadline = Clock::now() + kPatience;
  std::string& shown = process_->shown;
  std::size_t at = 0;
  while ((at = shown.find(text)) == std::string::npos) {
    if (!process_->readMore(deadline)) return std::exchange(shown, "");
  }
  std::string before = shown.substr(0, at + text.size());
  shown.erase(0, at + text.size());
  return before;
}

int TerminalChild::finish() {
  const auto deadline = Clock::now() + kPatience;
  while (process_->readMore(deadline)) continue;
  if (Clock::now() >= deadline) process_->program.signal(SIGKILL);
  return process_->program.wait();
}
