// A folder with the sample database, and the program to run on it.
#pragma once

#include "process.h"

#include <gtest/gtest.h>
#include <standin.h>

#include <filesystem>
#include <string>
#include <vector>

inline constexpr const char* kKey = "sk-test-0123456789abcdef";
inline constexpr const char* kModel = "standin-small";  // one that the stand-in lists

class Workplace : public testing::Test {
 protected:
  Workplace();
  ~Workplace() override;

  std::string path(const std::string& name) const { return (folder_ / name).string(); }
  std::string write(const std::string& name, const std::string& bytes) const;

  /// qai-chat with `arguments`, in an environment of nothing but `environment`.
  static Command chat(std::vector<std::string> arguments, std::vector<std::string> environment = {},
                      std::string input = "");
  /// The same with a key and the address of `server`.
  static Command chatWith(const standin::Server& server, std::vector<std::string> arguments, std::string input = "");

  /// How a person would go on at the next prompt: types `line` and waits for what comes of it.
  static std::string enter(TerminalChild& chat, const std::string& line);

  std::filesystem::path folder_;
  std::string shop_;  // the sample database
};

/// A loopback address that refuses connections as long as the object lives: taken, but not listened on.
class RefusingAddress {
 public:
  RefusingAddress();
  std::string text() const { return text_; }

 private:
  Descriptor socket_;
  std::string text_;
};

/// Waits until `server` was asked `count` times. @return whether that came about.
bool waitForRequests(const standin::Server& server, std::size_t count);

/// The number of lines of `text`.
std::size_t countLines(const std::string& text);
