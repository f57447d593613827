// Runs programs and talks with them, through pipes or through a terminal.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

/// A file descriptor with its owner.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  ~Descriptor() { close(); }
  Descriptor(Descriptor&& other) noexcept : number_(other.number_) { other.number_ = -1; }
  Descriptor& operator=(Descriptor&& other) noexcept;

  int get() const { return number_; }
  void close();

 private:
  int number_;
};

/// How a program ended. `code` is its exit code, or 128 and the number of the signal that ended it.
struct Outcome {
  int code = -1;
  std::string out;
  std::string err;
};

struct Command {
  std::vector<std::string> arguments;    // the program first
  std::vector<std::string> environment;  // the whole of it, as NAME=value
  std::string input;
};

/// Runs `command` to its end.
Outcome runCommand(const Command& command);

/// A program that runs on pipes; ended, if need be, with the object.
class Child {
 public:
  /// Feeds the whole input, too.
  explicit Child(const Command& command);
  ~Child();

  pid_t id() const { return id_; }
  void closeOutput() { out_.close(); }
  void signal(int number) const;
  /// Reads the rest and waits for the end.
  Outcome finish();

 private:
  pid_t id_ = -1;
  Descriptor out_;
  Descriptor err_;
};

/// A program whose standard input, output and error are a terminal.
class TerminalChild {
 public:
  explicit TerminalChild(const Command& command);
  ~TerminalChild();

  void type(std::string_view keys) const;
  /// Waits until the terminal has shown `text` after what was waited for before. @return all that was shown up to and
  /// with it; without it when the program ended or the time ran out.
  std::string waitFor(std::string_view text);
  /// Waits for the end. @return the exit code
  int finish();

 private:
  bool readMore(std::chrono::steady_clock::time_point deadline);

  pid_t id_ = -1;
  Descriptor terminal_;
  std::string shown_;  // not yet waited for
};
