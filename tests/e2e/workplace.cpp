#include "workplace.h"

#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

Workplace::Workplace() {
  std::ostringstream sql;
  sql << std::ifstream(QAI_SHOP_SQL).rdbuf();
  shop_ = makeDatabase("shop.db", sql.str());
}

std::string Workplace::write(std::string_view name, const std::string& bytes) const {
  std::ofstream(toPath(path(name)), std::ios::binary) << bytes;
  return path(name);
}

std::string Workplace::makeDatabase(std::string_view name, const std::string& sql) const {
  sqlite3* database = nullptr;
  EXPECT_EQ(sqlite3_open(path(name).c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
  sqlite3_close(database);
  return path(name);
}

Command Workplace::chat(std::vector<std::string> arguments, std::vector<std::string> environment, std::string input) {
  arguments.insert(arguments.begin(), QAI_CHAT_PATH);
  return {.arguments = std::move(arguments), .environment = std::move(environment), .input = std::move(input)};
}

Command Workplace::chatWith(const standin::Server& server, std::vector<std::string> arguments, std::string input) {
  arguments.insert(arguments.begin(), {"--host", server.address()});
  return chat(std::move(arguments), {std::string("OPENAI_API_KEY=") + kKey}, std::move(input));
}

std::string Workplace::enter(TerminalChild& chat, const std::string& line) {
  chat.type(line + "\n");
  chat.waitFor(line);  // the terminal's echo
  return chat.waitFor("\n> ");
}

bool waitForRequests(const standin::Server& server, std::size_t count) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (server.requests().size() < count) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::yield();
  }
  return true;
}

std::size_t countLines(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}
