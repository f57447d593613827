// A folder with the sample database, and the program to run on it.
#pragma once

#include "support/process.h"
#include "support/sockets.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <standin.h>

#include <string>
#include <string_view>
#include <vector>

inline constexpr const char* kKey = "sk-test-0123456789abcdef";
inline constexpr const char* kModel = "standin-small";  // one that the stand-in lists

class Workplace : public testing::Test {
 protected:
  Workplace();

  std::string path(std::string_view name) const { return toText(folder_.path() / toPath(name)); }
  std::string write(std::string_view name, const std::string& bytes) const;

  /// qai-chat with `arguments`, in an environment of nothing but `environment`.
  static Command chat(std::vector<std::string> arguments, std::vector<std::string> environment = {},
                      std::string input = "");
  /// The same with a key and the address of `server`.
  static Command chatWith(const standin::Server& server, std::vector<std::string> arguments, std::string input = "");

  /// How a person would go on at the next prompt: types `line` and waits for what comes of it.
  static std::string enter(TerminalChild& chat, const std::string& line);

  /// Makes a database of `sql` at path(`name`), and gives that.
  std::string makeDatabase(std::string_view name, const std::string& sql) const;

  TemporaryFolder folder_{"qai-e2e"};
  std::string shop_;  // the sample database
};

/// A loopback address that refuses connections as long as the object lives: taken, but not listened on.
class RefusingAddress {
 public:
  RefusingAddress() : socket_(sockets::refuseOnLoopback()) {}
  ~RefusingAddress() { sockets::close(socket_); }
  RefusingAddress(const RefusingAddress&) = delete;
  RefusingAddress& operator=(const RefusingAddress&) = delete;

  std::string text() const { return "http://127.0.0.1:" + std::to_string(sockets::getPort(socket_)); }

 private:
  sockets::Handle socket_;
};

/// Waits until `server` was asked `count` times. @return whether that came about.
bool waitForRequests(const standin::Server& server, std::size_t count);

/// The number of lines of `text`.
std::size_t countLines(const std::string& text);
