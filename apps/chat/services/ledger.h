// What has left this machine, for whom.
#pragma once

#include "conversation/matter.h"

#include <array>
#include <cstddef>
#include <map>
#include <string>

/// Kept by whoever sends, before anything goes: what could not be delivered is counted, too.
class Ledger {
 public:
  /// `count` pieces of `matter`, of `bytes` together, go to `destination`.
  void note(const std::string& destination, Matter matter, std::size_t bytes, std::size_t count = 1);
  /// For people, a line for each destination.
  std::string describe() const;

 private:
  struct Entry {
    std::size_t count = 0;
    std::size_t bytes = 0;
  };

  std::map<std::string, std::array<Entry, kMatters>> sent_;
};

/// "812 bytes", "41 kB", "3 MB".
std::string describeSize(std::size_t bytes);
