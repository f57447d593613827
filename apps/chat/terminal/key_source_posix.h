// What comes from a terminal's keys, and what happens meanwhile.
#pragma once

#include <array>
#include <csignal>
#include <cstddef>
#include <string>
#include <string_view>

/// What ends a wait for a key.
enum class KeyEvent {
  Character,
  End,          // of the input
  Interrupted,  // Ctrl-C
  Resized,      // the terminal
  Resumed,      // the process, after a stop
  Ended         // by a signal whose default is to end the process
};

/// Reads the keys of a terminal as characters. Used by one thread, but for interrupt().
class KeySource {
 public:
  /// Borrows `descriptor`. @throw std::system_error
  explicit KeySource(int descriptor);
  ~KeySource();
  KeySource(const KeySource&) = delete;
  KeySource& operator=(const KeySource&) = delete;

  /// Waits for the next character, which is ill-formed UTF-8's U+FFFD at times.
  KeyEvent read(wchar_t& character);
  /// Has `characters` read next, before all that waits.
  void putBack(std::wstring_view characters) { ahead_.insert(0, characters); }
  /// Forgets what was typed ahead, as far as it is here.
  void drop();
  /// Ends a wait with Interrupted. May be called from any thread.
  void interrupt() const;
  /// The signal of Ended.
  int signal() const { return signal_; }

  /// Has signals end waits while it lives; one at a time.
  class Watch {
   public:
    explicit Watch(const KeySource& source);
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

   private:
    static constexpr std::size_t kCount = 5;
    std::array<struct sigaction, kCount> earlier_{};
  };

 private:
  KeyEvent wait();
  KeyEvent takeWord(char word);
  KeyEvent readByte(char& byte);

  int descriptor_;
  std::array<int, 2> pipe_{-1, -1};  // words of other threads and of signal handlers
  std::wstring ahead_;
  std::string bytes_;  // read, but not taken
  int signal_ = 0;
};
