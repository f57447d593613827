// What must hold after every fault.
#pragma once

#include "fault_server.h"

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>

/// What the process holds.
struct Holdings {
  std::size_t descriptors;
  std::size_t threads;
  bool operator==(const Holdings&) const = default;
};
void PrintTo(const Holdings& holdings, std::ostream* out);
/// Waits up to ten seconds for the threads of others, which look names up, to end.
Holdings settle(const Holdings& expected);
Holdings currentHoldings();

/// What one operation came to.
struct CellRun {
  Told told;
  std::chrono::milliseconds time;
  std::size_t memory;
  std::string peer;     // host and port that were asked
  std::string request;  // that met the fault last
};

/// Expects what the table says of the cell.
void expectVerdict(const Cell& cell, const CellRun& outcome);
/// Expects that the call kept its limits on time and memory.
void expectWithinLimits(const Cell& cell, const CellRun& outcome);
/// Expects no trace of the key in `text`: as it is, percent-encoded, escaped in JSON, or in base64.
void expectNoKey(const std::string& text);
