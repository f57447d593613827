// qai-chat as a whole with memory running out, in a process for each point: it ends by itself, with an exit code that
// it has, and says why; what it tells to be done is done.
#include "shortage.h"
#include "support/process.h"
#include "support/sockets.h"
#include "support/temporary_folder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

/// The program's own main.
int chatMain(int argc, char** argv);

namespace {

constexpr std::size_t kSample = 40;       // points of each run and kind of shortage in an everyday test
constexpr unsigned kLongestSeconds = 30;  // for a run of milliseconds
constexpr int kMostComplaints = 5;
constexpr std::array kExitCodes{0, 64, 65, 66, 69, 70, 74, 77};
constexpr const char* kKey = "sk-test-0123456789abcdef";
constexpr const char* kShop =
    "CREATE TABLE customers (id INTEGER PRIMARY KEY, name TEXT);"
    "CREATE TABLE orders (id INTEGER PRIMARY KEY, customer INTEGER REFERENCES customers);"
    "CREATE VIEW names AS SELECT name FROM customers";
constexpr const char* kQuestion = "How many customers are there?";

/// What a process tells of itself.
struct Told {
  std::size_t allocations;
  bool ranOut;
};

struct Usage {
  std::vector<std::string> arguments;
  std::string input = {};
  bool atTerminal = false;
};

struct Ending {
  int status = 0;
  std::string out, err, saved;
};

std::string read(const std::filesystem::path& file) {
  std::ostringstream text;
  text << std::ifstream(file, std::ios::binary).rdbuf();
  return text.str();
}

Told* shareTold() {
  void* const shared = mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return shared == MAP_FAILED ? nullptr : static_cast<Told*>(shared);
}

class ChatInShortage : public testing::Test {
 protected:
  ChatInShortage() {
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(file("shop.db").c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, kShop, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
  }

  std::string file(const char* name) const { return (folder_.path() / name).string(); }

  /// `code` is what the run ends with where there is memory.
  void sweep(const Usage& usage, int code = 0) {
    const Ending expected = end(usage, Shortage::Once, std::string::npos);
    ASSERT_TRUE(WIFEXITED(expected.status));
    ASSERT_EQ(WEXITSTATUS(expected.status), code) << expected.err;
    const char* const variable = std::getenv("QAI_ALLOCATION_POINTS");
    const std::string points = variable == nullptr ? "" : variable;
    const bool one = !points.empty() && points != "all";
    const std::size_t step = points == "all" ? 1 : std::max<std::size_t>(told_->allocations / kSample, 1);
    for (const Shortage kind : {Shortage::Once, Shortage::Lasting}) {
      std::size_t point = one ? std::stoul(points) : step / 2;
      for (; complaints_ < kMostComplaints; point += step) {
        const Ending ending = end(usage, kind, point);
        const std::string fault = judge(usage, ending, expected);
        if (!fault.empty()) {
          ++complaints_;
          ADD_FAILURE() << "point " << point << (kind == Shortage::Once ? ", once: " : " and on: ") << fault << '\n'
                        << ending.err;
        }
        if (one || (WIFEXITED(ending.status) && !told_->ranOut)) break;
      }
      EXPECT_TRUE(one || point > kSample);
    }
  }

 private:
  static std::string judge(const Usage& usage, const Ending& ending, const Ending& expected) {
    if (!WIFEXITED(ending.status)) return "ended by signal " + std::to_string(WTERMSIG(ending.status));
    const int code = WEXITSTATUS(ending.status);
    if (std::find(kExitCodes.begin(), kExitCodes.end(), code) == kExitCodes.end())
      return "ended with " + std::to_string(code);
    if (code != 0 && ending.err.find("qai-chat: ") == std::string::npos)
      return "ended with " + std::to_string(code) + " and says nothing";
    if (ending.err.find("bad_alloc") != std::string::npos) return "says it in C++";
    // At a terminal a turn that failed is told of, and the conversation goes on.
    const bool toldOf = usage.atTerminal && ending.err.find("qai-chat: ") != std::string::npos;
    if (code == 0 && !toldOf && ending.out != expected.out)
      return "told of a success, but wrote\n" + ending.out + "in place of\n" + expected.out;
    if (!ending.saved.empty() && ending.saved != expected.saved) return "saved " + ending.saved;
    return "";
  }

  Ending end(const Usage& usage, Shortage kind, std::size_t point) {
    std::filesystem::remove(file("saved.json"));
    *told_ = {};
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) become(usage, kind, point);
    Ending ending;
    waitpid(child, &ending.status, 0);
    ending.out = read(file("out"));
    ending.err = read(file("err"));
    ending.saved = read(file("saved.json"));
    return ending;
  }

  /// The child's life.
  [[noreturn]] void become(const Usage& usage, Shortage kind, std::size_t point) const {
    alarm(kLongestSeconds);
    std::ofstream(file("in"), std::ios::binary) << usage.input;
    open(file("in"), O_RDONLY, STDIN_FILENO);
    open(file("out"), O_RDWR | O_CREAT | O_TRUNC, STDOUT_FILENO);
    open(file("err"), O_RDWR | O_CREAT | O_TRUNC, STDERR_FILENO);
    if (usage.atTerminal) typeAll(usage.input);
    std::vector<std::string> arguments = usage.arguments;
    arguments.insert(arguments.begin(), "qai-chat");
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    static Told* const told = told_;
    static_cast<void>(std::atexit([] { *told = {allocationsInShortage(), endShortage()}; }));
    pointers.push_back(nullptr);
    for (const int signal : {SIGABRT, SIGSEGV}) std::signal(signal, tellWhere);
    beginShortageEverywhere(kind, point);
    std::exit(chatMain(static_cast<int>(arguments.size()), pointers.data()));
  }

  static void tellWhere(int signal) {
    endShortage();
    std::cerr << "Memory ran out in" << describeFirstRefusal() << '\n';
    std::signal(signal, SIG_DFL);
    static_cast<void>(std::raise(signal));
  }

  static void open(const std::string& path, int flags, int as) {
    const int opened = ::open(path.c_str(), flags, 0600);
    if (opened < 0 || dup2(opened, as) < 0) _exit(1);
    ::close(opened);
  }

  /// The standard input becomes a terminal at which a person has typed `text` already.
  static void typeAll(const std::string& text) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0) _exit(1);
    open(ptsname(terminal), O_RDWR | O_NOCTTY, STDIN_FILENO);
    if (write(terminal, text.data(), text.size()) < 0) _exit(1);
  }

  TemporaryFolder folder_{"qai-shortage"};
  Told* const told_ = shareTold();
  int complaints_ = 0;
};

/// A turn with the stand-in inside the program, whose threads run short, too.
TEST_F(ChatInShortage, WithTheStandInInside) {
  sweep({.arguments = {"--save", file("saved.json"), file("shop.db"), kQuestion}});
}

/// With a service elsewhere, which goes on having memory. Not in this process: where no other thread holds a lock, no
/// child finds it held for ever.
class ChatWithService : public ChatInShortage {
 protected:
  ChatWithService() {
    setenv("OPENAI_API_KEY", kKey, 1);
    const std::string line = server_.readLine().value_or("");
    address_ = line.substr(std::min(line.find("http://"), line.size()));
  }
  ~ChatWithService() override { unsetenv("OPENAI_API_KEY"); }

  Usage with(std::vector<std::string> arguments, std::string input = "", bool atTerminal = false) const {
    arguments.insert(arguments.begin(), {"--host", address_});
    return {.arguments = std::move(arguments), .input = std::move(input), .atTerminal = atTerminal};
  }

  Child server_{{.arguments = {STANDIN_PROGRAM}, .environment = {}, .input = ""}};
  std::string address_;
};

TEST_F(ChatWithService, ListingModels) { sweep(with({"--list-models"})); }

TEST_F(ChatWithService, ShowingThePrompt) { sweep(with({"--show-prompt", file("shop.db")})); }

TEST_F(ChatWithService, TellingOfWrongUsage) { sweep(with({"--temperature", "3", file("shop.db")}), 64); }

TEST_F(ChatWithService, AnsweringLines) {
  sweep(with({file("shop.db")}, std::string(kQuestion) + "\nAnd how many orders?\n"));
}

TEST_F(ChatWithService, AnsweringWithWhatIsPiped) { sweep(with({file("shop.db"), kQuestion}, "Error 42\n")); }

TEST_F(ChatWithService, TellingWhatWouldBeSent) {
  sweep(with({"--dry-run", file("shop.db"), kQuestion}, "Error 42\n"));
}

TEST_F(ChatWithService, ObeyingPipedCommands) {
  sweep(with({file("shop.db")}, ".tables\n\\d orders\n/sent\n" + std::string(kQuestion) + "\n/context\nexit\nq\n"));
}

TEST_F(ChatWithService, RestoringAndSaving) {
  std::ofstream(file("earlier.json")) << R"({"api_host":")" + address_ + R"(","model":"standin-small",)"
                                      << R"("messages":[{"role":"user","content":"earlier question"}]})";
  sweep(with({"--restore", file("earlier.json"), "--save", file("saved.json"), file("shop.db"), kQuestion}));
}

TEST_F(ChatWithService, LeavingNothingBehindAtTheService) {
  sweep(with({"--provider", "openai-assistants", file("shop.db"), kQuestion}));
}

TEST_F(ChatWithService, ThatIsNotThere) {
  const sockets::Handle taken = sockets::refuseOnLoopback();
  address_ = "http://127.0.0.1:" + std::to_string(sockets::getPort(taken));
  for (const char* provider : {"openai", "openai-assistants", "ollama"})
    sweep(with({"--provider", provider, "--model", "m", file("shop.db"), kQuestion}), 69);
  sockets::close(taken);
}

TEST_F(ChatWithService, AtATerminal) {
  sweep(with({file("shop.db")}, std::string(kQuestion) + "\n/provider ollama m\n/new\n/provider\n/quit\n", true));
}

}  // namespace
