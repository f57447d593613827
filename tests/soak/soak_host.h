// A host of all services that asks on and on, every other turn streamed, a fifth of the time in vain.
#pragma once

#include "../threads/cancel_desk.h"
#include "support/services.h"

#include <qai.hpp>

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// What has happened so far.
struct SoakTally {
  long turns = 0;
  long streamed = 0;
  long failed = 0;     // as they had to
  long cancelled = 0;  // of these
  std::vector<std::string> defects;
};

class SoakHost {
 public:
  /// @param authorities a file with those that the services' certificates are from; "" for the system's
  SoakHost(std::string address, std::string authorities);

  /// Takes one turn, with the service whose turn it is.
  void takeTurn();
  /// Ends every conversation and every assistant; the next turns begin new ones.
  void rest();

  const SoakTally& tally() const { return tally_; }

 private:
  struct Seat {
    TestedService service;
    qai::Assistant assistant = {};
    qai::Session session = {};
    long turns = 0;
    std::size_t faults = 0;  // met so far
  };

  void limitRequests(std::chrono::milliseconds total) const;
  void prepare(Seat& seat);
  void open(Seat& seat);
  void askWell(Seat& seat);
  void askInVain(Seat& seat);
  std::string ask(Seat& seat, const std::string& fault);
  static bool isStreamed(const Seat& seat, std::string_view fault);
  std::string askStreamed(Seat& seat, const std::string& question);
  std::string askAndCancel(Seat& seat, const std::string& fault);
  std::string askBriefly(Seat& seat, const std::string& fault);
  void expect(bool holds, const Seat& seat, const std::string& what);

  const std::string address_;
  const std::string authorities_;
  std::vector<Seat> seats_;
  SoakTally tally_;
  CancelDesk desk_{1};
};
