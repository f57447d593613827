// The benchmarks' server: bench_server in a process of its own.
#pragma once

#include "child.h"

#include <string>
#include <utility>
#include <vector>

class BenchServer {
 public:
  struct Counts {
    long connections;
    long handshakes;  // completed, resumed ones included
    long resumed;
    long requests;
    long bodyBytes;
  };

  /// Plain HTTP.
  BenchServer() : BenchServer("http://127.0.0.1:", std::vector<std::string>()) {}
  /// TLS, for the name "localhost".
  BenchServer(const std::string& certificateFile, const std::string& keyFile)
      : BenchServer("https://localhost:", std::vector{certificateFile, keyFile}) {}

  /// "http://127.0.0.1:port", or "https://localhost:port".
  const std::string& getURL() const { return url_; }
  Counts obtainCounts();
  /// Ends all connections, and returns when that is done.
  void closeConnections();

 private:
  BenchServer(std::string beginOfURL, const std::vector<std::string>& arguments);

  Child program_;
  std::string url_;
};
