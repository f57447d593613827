#include "workplace.h"

#include <netinet/in.h>
#include <sqlite3.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

namespace fs = std::filesystem;

Workplace::Workplace() {
  std::string pattern = (fs::temp_directory_path() / "qai-e2e-XXXXXX").string();
  folder_ = mkdtemp(pattern.data());
  shop_ = path("shop.db");
  std::ostringstream sql;
  sql << std::ifstream(QAI_SHOP_SQL).rdbuf();
  sqlite3* database = nullptr;
  EXPECT_EQ(sqlite3_open(shop_.c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, sql.str().c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
      << sqlite3_errmsg(database);
  sqlite3_close(database);
}

Workplace::~Workplace() { fs::remove_all(folder_); }

std::string Workplace::write(const std::string& name, const std::string& bytes) const {
  std::ofstream(path(name), std::ios::binary) << bytes;
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

RefusingAddress::RefusingAddress() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  EXPECT_EQ(bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), size), 0);
  EXPECT_EQ(getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
  text_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
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
