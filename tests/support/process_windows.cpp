#include "support/handles_windows.h"
#include "support/platform.h"
#include "support/process.h"
#include "support/temporary_folder.h"
#include "support/terminal_text_windows.h"

#include <windows.h>

#include <algorithm>
#include <condition_variable>
#include <cwctype>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

constexpr std::chrono::seconds kPatience{20};  // with a console; only a failing test waits that long

std::wstring widen(std::string_view text) { return toPath(text).native(); }

/// As the C library and CommandLineToArgvW take a command line apart: backslashes count before a quote only.
std::wstring quote(const std::wstring& argument) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : argument) {
    if (c == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  quoted.append(backslashes, L'\\');
  return quoted + L'"';
}

std::wstring obtainSystemFolder() {
  wchar_t folder[MAX_PATH] = {};
  return {folder, GetSystemWindowsDirectoryW(folder, MAX_PATH)};
}

/// What a process's environment is: texts in the order of their names, each with its end. Without SystemRoot there are
/// no sockets.
std::wstring makeEnvironment(const Command& command) {
  std::vector<std::wstring> entries{L"SystemRoot=" + obtainSystemFolder()};
  for (const std::string& entry : command.environment) entries.push_back(widen(entry));
  std::sort(entries.begin(), entries.end(), [](const std::wstring& left, const std::wstring& right) {
    return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(), [](wchar_t a, wchar_t b) {
      return std::towupper(static_cast<std::wint_t>(a)) < std::towupper(static_cast<std::wint_t>(b));
    });
  });
  std::wstring block;
  for (const std::wstring& entry : entries) block += entry + L'\0';
  return block + L'\0';
}

/// A terminal without a window.
class PseudoConsole {
 public:
  PseudoConsole() {
    Pipe keys;
    Pipe screen;
    // So large that no line of these tests is broken and none leaves it.
    if (CreatePseudoConsole({250, 500}, keys.read.get(), screen.write.get(), 0, &console_) != S_OK) {
      throw std::runtime_error("no terminal");
    }
    keys_ = std::move(keys.write);
    screen_ = std::move(screen.read);
    if (isWine()) keptOpen_ = std::move(screen.write);
  }
  ~PseudoConsole() { close(); }
  PseudoConsole(const PseudoConsole&) = delete;
  PseudoConsole& operator=(const PseudoConsole&) = delete;

  HPCON get() const { return console_; }
  const Handle& keys() const { return keys_; }
  /// Ends the programs at it, and then what can be read.
  void close() {
    if (console_ == nullptr) return;
    ClosePseudoConsole(std::exchange(console_, nullptr));
    if (isWine()) writeAll(keptOpen_, {&kEnd, 1});
  }
  /// As readSome, from the screen.
  bool read(std::string& text) const { return !text.ends_with(kEnd) && readSome(screen_, text); }

 private:
  static constexpr char kEnd = '\0';

  HPCON console_ = nullptr;
  Handle keys_;
  Handle screen_;
  Handle keptOpen_;  // the screen's other end: Wine does not close it, so that the end must be told
};

/// What a program is started with: the handles that it inherits, no others, and its streams or a console.
class Startup {
 public:
  explicit Startup(std::vector<HANDLE> inherited) : inherited_(std::move(inherited)) {
    constexpr DWORD kMostAttributes = 2;
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, kMostAttributes, 0, &size);
    attributes_.resize(size);
    info.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(attributes_.data());
    InitializeProcThreadAttributeList(info.lpAttributeList, kMostAttributes, 0, &size);
    set(PROC_THREAD_ATTRIBUTE_HANDLE_LIST, inherited_.data(), inherited_.size() * sizeof(HANDLE));
    info.StartupInfo.cb = sizeof info;
    info.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  }
  ~Startup() { DeleteProcThreadAttributeList(info.lpAttributeList); }
  Startup(const Startup&) = delete;
  Startup& operator=(const Startup&) = delete;

  void setStreams(HANDLE in, HANDLE out, HANDLE err) {
    info.StartupInfo.hStdInput = in;
    info.StartupInfo.hStdOutput = out;
    info.StartupInfo.hStdError = err;
  }
  void setConsole(HPCON console) { set(PROC_THREAD_ATTRIBUTE_PSEUDOCONSOLE, console, sizeof console); }

  STARTUPINFOEXW info{};

 private:
  void set(DWORD_PTR attribute, void* value, std::size_t size) {
    UpdateProcThreadAttribute(info.lpAttributeList, 0, attribute, value, size, nullptr, nullptr);
  }

  std::vector<HANDLE> inherited_;
  std::vector<char> attributes_;
};

/// Where a program is started. A console takes as long as the program itself.
enum class Seat { WithoutConsole, AtItsOwnConsole, AtTheGivenConsole };

/// A running program; ended, if need be, with the object. With a console of its own, at which Ctrl-C reaches nobody
/// else, another one stands between it and this process, to be at that console.
class Running {
 public:
  Running() : job_(CreateJobObjectW(nullptr, nullptr)), interrupt_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job_.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
  }

  HANDLE interruptEvent() const { return interrupt_.inherited(); }

  void start(const Command& command, Startup& startup, Seat seat) {
    if (seat != Seat::WithoutConsole) {
      const auto event = std::to_wstring(reinterpret_cast<std::uintptr_t>(interrupt_.get()));
      commandLine_ = quote(widen(AT_CONSOLE_PATH)) + L' ' + event + L' ';
    }
    for (const std::string& argument : command.arguments) commandLine_ += quote(widen(argument)) + L' ';
    const DWORD flags = seat == Seat::WithoutConsole    ? DETACHED_PROCESS
                        : seat == Seat::AtItsOwnConsole ? CREATE_NO_WINDOW
                                                        : 0;
    std::wstring line = commandLine_;  // the system writes in it
    std::wstring environment = makeEnvironment(command);
    PROCESS_INFORMATION made{};
    if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE,
                       flags | EXTENDED_STARTUPINFO_PRESENT | CREATE_UNICODE_ENVIRONMENT | CREATE_SUSPENDED,
                       environment.data(), nullptr, &startup.info.StartupInfo, &made) == 0) {
      throw std::runtime_error("can't start " + command.arguments.front());
    }
    process_ = Handle(made.hProcess);
    const Handle thread(made.hThread);
    AssignProcessToJobObject(job_.get(), process_.get());
    ResumeThread(thread.get());
  }

  const std::wstring& commandLine() const { return commandLine_; }
  void interrupt() const { SetEvent(interrupt_.get()); }
  /// Waits no longer than `patience`.
  int wait(std::chrono::milliseconds patience) const {
    const auto most = static_cast<DWORD>(patience.count());
    if (WaitForSingleObject(process_.get(), most) != WAIT_OBJECT_0) TerminateJobObject(job_.get(), kKilled);
    WaitForSingleObject(process_.get(), INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process_.get(), &code);
    return static_cast<int>(code);
  }

 private:
  static constexpr UINT kKilled = 137;

  Handle job_;
  Handle interrupt_;
  Handle process_;
  std::wstring commandLine_;
};

}  // namespace

const int kEndedByCtrlC = static_cast<int>(STATUS_CONTROL_C_EXIT);

namespace {

/// A program on pipes.
struct PipedProgram {
  void start(const Command& command, Seat seat);
  ProgramRun finish();

  Running program{};
  Handle out{};
  Handle err{};
  std::chrono::milliseconds patience{};
};

void PipedProgram::start(const Command& command, Seat seat) {
  Pipe inPipe;
  Pipe outPipe;
  Pipe errPipe;
  // What is opened to be read can't be written.
  if (command.outputFails) {
    outPipe.write = Handle(CreateFileW(L"NUL", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  }
  Startup startup(
      {program.interruptEvent(), inPipe.read.inherited(), outPipe.write.inherited(), errPipe.write.inherited()});
  startup.setStreams(inPipe.read.get(), outPipe.write.get(), errPipe.write.get());
  program.start(command, startup, seat);
  writeAll(inPipe.write, command.input);
  patience = command.patience;
  out = std::move(outPipe.read);
  err = std::move(errPipe.read);
}

ProgramRun PipedProgram::finish() {
  ProgramRun outcome;
  {
    const auto drain = [](Handle& from, std::string& text) {
      while (from.get() != nullptr && readSome(from, text)) continue;
    };
    const std::jthread reader([&] { drain(out, outcome.out); });
    const std::jthread complaintReader([&] { drain(err, outcome.err); });
    outcome.code = program.wait(patience);
  }
  return outcome;
}

}  // namespace

struct Child::Process : PipedProgram {};

Child::Child(const Command& command) : process_(std::make_unique<Process>()) {
  process_->start(command, Seat::AtItsOwnConsole);
}

Child::~Child() = default;

// Taken from what was asked for: others see the same.
std::string Child::obtainCommandLine() const { return toText(process_->program.commandLine()); }

void Child::closeOutput() { process_->out.close(); }

void Child::interrupt() { process_->program.interrupt(); }

bool Child::terminate() { return false; }

std::optional<std::string> Child::readLine() {
  std::string line;
  for (;;) {
    if (!awaitSomething(process_->out, process_->patience)) {
      throw std::runtime_error("no line came in time" + (line.empty() ? "" : "; it began: " + line));
    }
    char c = '\0';
    DWORD size = 0;
    const bool isThere = ReadFile(process_->out.get(), &c, 1, &size, nullptr) != 0 && size == 1;
    if (!isThere) return line.empty() ? std::nullopt : std::optional(line);
    if (c == '\n') return line;
    line += c;
  }
}

ProgramRun Child::finish() { return process_->finish(); }

ProgramRun runCommand(const Command& command) {
  PipedProgram program;
  program.start(command, Seat::WithoutConsole);
  return program.finish();
}

struct TerminalChild::Process {
  ~Process() {
    console.close();
    if (reader.joinable()) reader.join();
  }

  void read() {
    std::string bytes;
    TerminalText text;
    for (std::size_t taken = 0; console.read(bytes); taken = bytes.size()) {
      const std::lock_guard lock(mutex);
      shown += text.take(std::string_view(bytes).substr(taken));
      changed.notify_all();
    }
    const std::lock_guard lock(mutex);
    ended = true;
    changed.notify_all();
  }

  PseudoConsole console;
  Running program;
  std::mutex mutex;
  std::condition_variable changed;
  std::string shown;  // not yet waited for; under the mutex, as is the next
  bool ended = false;
  std::thread reader;
};

TerminalChild::TerminalChild(const Command& command) : process_(std::make_unique<Process>()) {
  Startup startup({process_->program.interruptEvent()});
  startup.setConsole(process_->console.get());
  process_->program.start(command, startup, Seat::AtTheGivenConsole);
  process_->reader = std::thread([this] { process_->read(); });
}

TerminalChild::~TerminalChild() = default;

void TerminalChild::type(std::string_view keys) {
  std::string typed(keys);
  std::replace(typed.begin(), typed.end(), '\n', '\r');
  writeAll(process_->console.keys(), typed);
}

// Wine's terminals drop the line at Ctrl-C and tell nobody.
void TerminalChild::typeCtrlC() {
  if (isWine()) {
    process_->program.interrupt();
  } else {
    type("\x03");
  }
}

void TerminalChild::typeEnd() { type("\x1A\n"); }

std::string TerminalChild::waitFor(std::string_view text) {
  std::unique_lock lock(process_->mutex);
  std::string& shown = process_->shown;
  process_->changed.wait_for(lock, kPatience, [&] { return process_->ended || shown.find(text) != std::string::npos; });
  const std::size_t at = shown.find(text);
  if (at == std::string::npos) return std::exchange(shown, "");
  const std::string before = shown.substr(0, at + text.size());
  shown.erase(0, at + text.size());
  return before;
}

int TerminalChild::finish() {
  const int code = process_->program.wait(kPatience);
  process_->console.close();
  process_->reader.join();
  return code;
}
