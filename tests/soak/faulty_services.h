// The services for a soak: replies that are always the same, and faults that a question asks for by name. Nothing
// is kept but what a conversation of the Assistants service has still to meet, so the server never grows.
#pragma once

#include "support/raw_server.h"

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

/// What goes wrong with a request whose text holds "fault=NAME@STEP;".
struct NamedFault {
  std::string_view name;
  raw::Script script;
};
const std::vector<NamedFault>& allFaults();
/// Nothing is ever answered: a cancel or the time limit is the end of it.
inline constexpr std::string_view kStall = "stall";

/// The requests of an Assistants turn, each of which can meet the fault.
inline constexpr std::string_view kSteps[] = {"message", "run", "poll", "reply"};

/// Answers any number of requests, on several threads at once.
class FaultyServices {
 public:
  raw::Script answer(const std::string& request);

 private:
  raw::Script answerThread(const std::string& method, const std::string& path, const std::string& request);
  void remember(const std::string& thread, std::string_view fault);
  std::string findDue(const std::string& thread, std::string_view step);
  std::string newId(std::string_view kind);

  std::mutex mutex_;
  std::map<std::string, std::string> due_;  // "NAME@STEP" of each thread whose last message named one
  long ids_ = 0;
};
