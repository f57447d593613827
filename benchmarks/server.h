// The benchmarks' server: bench_server in a process of its own.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <memory>
#include <string>

class BenchServer {
 public:
  struct Counts {
    long connections;
    long handshakes;  // completed, resumed ones included
    long resumed;
    long requests;
    long bodyBytes;
  };

  /// Plain HTTP. Throws std::runtime_error when the server doesn't start.
  BenchServer() : BenchServer("", "") {}
  /// TLS, for the name "localhost".
  BenchServer(const std::string& certificateFile, const std::string& keyFile);
  ~BenchServer();
  BenchServer(const BenchServer&) = delete;
  BenchServer& operator=(const BenchServer&) = delete;

  /// "http://127.0.0.1:port", or "https://localhost:port".
  const std::string& getURL() const { return url_; }
  Counts obtainCounts();
  /// Ends all connections, and returns when that is done.
  void closeConnections();

 private:
  std::string tell(const std::string& word);
  std::string readLine();

  using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
  pid_t process_ = -1;
  File toServer_{nullptr, &std::fclose};
  File fromServer_{nullptr, &std::fclose};
  std::string url_;
};
