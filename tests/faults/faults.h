// What servers and networks get wrong, as a table: what is done to a request, and what the host is then told.
#pragma once

#include "operations.h"
#include "support/raw_server.h"

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// The limit on replies while a fault is played; small, so that what goes beyond it is soon there.
inline constexpr std::size_t kReplyLimit = std::size_t{2} << 20;

/// A request that meets its fault.
struct Exchange {
  const std::string& request;
  std::string body;  // of the healthy reply
  Reading reading;
  int played;                           // how often the fault was played before
  int portElsewhere;                    // of a server that must never be asked
  const std::function<void()>& cancel;  // by the host
};
using Play = std::function<raw::Script(const Exchange& exchange)>;

/// What the host is told of a fault.
enum class Verdict {
  Success,     // the reply
  Transport,   // one of the sentences, in which "{}" is the server
  Status,      // the service's own words, or what its status means
  TheRequest,  // the service's own words, which are what it was asked
  NoJson,      // the operation's own sentence
  Format,      // the operation's own sentence
  Incomplete,  // the operation's own sentence, of a stream
  Either       // a success or a failure; HTTP leaves it open
};

/// A reply to what is read in one way.
struct ReadingFault {
  std::string body;
  Verdict verdict;
  std::string text = "";  // of the success, or in the service's own words
};

/// Where the server is that gets the request.
enum class Place {
  Usual,
  Refusing,     // nobody listens at the port
  OtherScheme,  // at a server with TLS for http, without TLS for https
};

/// What becomes of a connection that is kept, behind the reply before.
enum class Between { Nothing, Close, Reset, BytesWithTheReply, BytesLater };

struct Fault {
  std::string name;
  Play play{};
  Verdict verdict = Verdict::Success;
  std::vector<std::string> texts{};            // of the verdict
  std::map<Reading, ReadingFault> readings{};  // when it depends on what is read: those that it concerns
  std::chrono::milliseconds limit{0};          // on the whole exchange; 0 for none
  std::chrono::milliseconds wait{0};           // what the call may take by itself
  bool isOfWholeReply = false;                 // it concerns a body that is collected; a stream's is handed on
  bool cancels = false;                        // the host does, where the service uses its pool; else the limit ends it
  Place place = Place::Usual;
  Between between = Between::Nothing;
};

// Each gives a part of the table.
std::vector<Fault> connectionFaults();
std::vector<Fault> waitingFaults();
std::vector<Fault> framingFaults();
std::vector<Fault> redirectFaults();
std::vector<Fault> statusFaults();
std::vector<Fault> contentFaults();
std::vector<Fault> readingFaults();
std::vector<Fault> runFaults();
std::vector<Fault> streamFaults();

/// The whole table.
const std::vector<Fault>& allFaults();

// For the tables.

/// Of a reply behind which the server closes: the next request would else race with the end.
inline constexpr const char* kClosing = "Connection: close\r\n";

/// The sentence for a connection that ended.
inline constexpr const char* kLost = "The connection to {} was lost before the reply was complete";
inline constexpr const char* kUnanswered = "The connection to {} was lost before a reply; the service may have acted";
inline constexpr const char* kNotHTTP = "{} did not answer in HTTP";

/// The head of a reply with these fields, each ended by CRLF.
std::string head(int status, std::string_view fields = "");
/// The same bytes for every request, and then `end`.
Play sends(std::string bytes, raw::Step end);
Play sends(std::string bytes);
/// A healthy reply with another body: `change` makes it of the healthy one.
Play sendsBody(std::function<std::string(std::string body)> change);
