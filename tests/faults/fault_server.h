// A service that is healthy but for the one request that meets a fault.
#pragma once

#include "faults.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

/// How the request meets its fault.
struct Cell {
  const Fault& fault;
  const FaultedService& service;
  const Operation& operation;
  bool warm;    // on a connection that was kept from the request before
  bool secure;  // over https
};

class FaultServer {
 public:
  /// @param portElsewhere of a server that must never be asked
  FaultServer(const Cell& cell, TLSContext tls, int portElsewhere);

  std::string getURL() const { return server_.getURL(); }
  std::size_t getConnections() const { return server_.getConnections(); }

  /// What the cell's fault says happens to a kept connection between requests happens now.
  /// @return false when it did not within ten seconds.
  bool endPreparation();
  /// From here on the operation's request meets the fault.
  void beginFault(std::function<void()> cancel);
  /// All is healthy again.
  void endFault();
  /// The requests that met the fault, oldest first.
  std::vector<std::string> getFaulted() const;

 private:
  raw::Script answer(const std::string& request);
  raw::Script answerBefore(const std::string& body);
  void reach(bool& mark);

  const Cell cell_;
  const int portElsewhere_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::function<void()> cancel_;
  bool isFaulty_ = false;
  bool isHealed_ = false;
  bool mayGoOn_ = false;  // behind the reply before
  bool wentOn_ = false;
  std::vector<std::string> faulted_;
  RawServer server_;  // last: its threads use the others
};
