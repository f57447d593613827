// Runs programs and talks with them, through pipes or through a terminal; one source file for each system.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// How a program ended. `code` is its exit code; where a signal ended it, 128 and the signal's number.
struct ProgramRun {
  int code = -1;
  std::string out;
  std::string err;
};

/// The code of a program that Ctrl-C ended.
extern const int kEndedByCtrlC;

/// All texts are UTF-8.
struct Command {
  std::vector<std::string> arguments;    // the program first
  std::vector<std::string> environment;  // as NAME=value; all of it, but what Windows itself needs
  std::string input;
  bool outputFails = false;                    // nothing can be written to the standard output
  std::chrono::milliseconds patience{20'000};  // with a program that says nothing; only a failing test waits that long
};

/// Runs `command` to its end; ends it when it says nothing for too long.
ProgramRun runCommand(const Command& command);

/// A program that runs on pipes; ended, if need be, with the object.
class Child {
 public:
  /// Feeds the whole input, too.
  explicit Child(const Command& command);
  ~Child();

  /// What the system tells everyone of the program's arguments.
  std::string obtainCommandLine() const;
  void closeOutput();
  /// As Ctrl-C at a terminal.
  void interrupt();
  /// As a system that shuts down: SIGTERM. @return false where there is no such way
  bool terminate();
  /// The next line of the output, without its end; nothing when there is none, or the program has ended.
  /// @throw std::runtime_error when it does not come in time
  std::optional<std::string> readLine();
  /// Reads the rest and waits for the end, which it brings about when nothing is said for too long.
  ProgramRun finish();

 private:
  struct Process;
  std::unique_ptr<Process> process_;
};

/// A program whose standard input, output and error are a terminal.
class TerminalChild {
 public:
  explicit TerminalChild(const Command& command);
  ~TerminalChild();

  /// As typed: "\n" is the Enter key.
  void type(std::string_view keys);
  void typeCtrlC();
  /// Types what ends the input.
  void typeEnd();
  /// Waits until the terminal has shown `text` after what was waited for before. @return all that was shown up to and
  /// with it; without it when the program ended or the time ran out.
  std::string waitFor(std::string_view text);
  /// Waits for the end. @return the exit code
  int finish();

 private:
  struct Process;
  std::unique_ptr<Process> process_;
};
