// What every service has, whoever keeps its conversations, as a row of data.
#pragma once

#include <cf/json.h>

#include <string>
#include <string_view>
#include <vector>

/// Told of a reply that is no JSON, and of one that is not in the service's format.
inline constexpr std::string_view kInvalidResponse = "Invalid response";
inline constexpr std::string_view kUnsupportedFormat = "Unsupported data format";
inline constexpr const char* kStopped = "Stopped";

/// How a service gets the host's key.
enum class ServiceKey { None, Bearer, Query };  // "Authorization: Bearer …"; the query pair "key"

/// A field of each request's header, or a pair of a query; none when the name is empty.
struct ServicePair {
  std::string_view name;
  std::string_view value;
};

/// Where the list of models is, and what is said when it can't be read. Labels follow the text as they stand.
struct ServiceModels {
  std::string_view path;
  std::string_view member;      // the array in the reply that lists them
  std::string_view noJsonText;  // the text when the reply is no JSON
  std::string_view label;
  std::vector<std::string> (*read)(const ICOJsonValue& list);
  bool mayBeAnError = false;  // some servers tell of one under the status of a success
};

/// One service, without its turns. A path stands in an address behind the API host, as it is. In a path's last segment
/// and in labels "{model}" stands for the model's name.
struct ServiceRow {
  std::string_view defaultHost;
  ServiceKey key;
  bool sharesPool;  // requests go through the host's pool centre
  ServiceModels models;
  ServicePair header = {};
};
