// What a pseudo console shows, as the text that a person reads.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// Takes the escape sequences out of what comes piece by piece. The console skips spaces by moving to the right; when
/// it moves elsewhere a line begins.
class TerminalText {
 public:
  std::string take(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) take(c, text);
    return text;
  }

 private:
  enum class State { Text, Escape, Control, Title };

  void take(char c, std::string& text) {
    switch (state_) {
      case State::Text:
        if (c == '\x1b') {
          state_ = State::Escape;
        } else if (c != '\r') {
          text += c;
        }
        return;
      case State::Escape:
        state_ = c == '[' ? State::Control : c == ']' ? State::Title : State::Text;
        parameters_.clear();
        return;
      case State::Control:
        if (c < '@') {
          parameters_ += c;
        } else {
          obey(c, text);
          state_ = State::Text;
        }
        return;
      case State::Title:
        if (c == '\a') state_ = State::Text;
        return;
    }
  }

  void obey(char command, std::string& text) const {
    const bool number = !parameters_.empty() && std::all_of(parameters_.begin(), parameters_.end(),
                                                            [](char c) { return c >= '0' && c <= '9'; });
    if (command == 'C') text.append(number ? std::stoul(parameters_) : 1, ' ');
    if (command == 'H') text += '\n';
  }

  State state_ = State::Text;
  std::string parameters_;
};
