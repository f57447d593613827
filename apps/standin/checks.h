// The checks that services make alike before they answer.
#pragma once

#include "flaws.h"
#include "standin.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace standin {

/// How much of a wrong key an error shows: its ends, with stars for the rest. A short key becomes all stars.
struct KeyMask {
  std::size_t head = 0;
  std::string_view stars = {};
  std::size_t tail = 0;
};

/// The key of an Authorization header; "" when there is none.
std::string bearerKey(const Request& request);

/// @param accepted the only key that is right; empty: any is
std::optional<Flaw> checkKey(std::string_view key, const std::string& accepted, const KeyMask& mask = {});

/// A member that must be there, and of this type.
std::optional<Flaw> checkMember(const COJsonValue* value, JsonType type, const std::string& path);
/// A member that may be absent or null, else must be of this type.
std::optional<Flaw> checkOptional(const COJsonValue* value, JsonType type, const std::string& path);

/// A text of no more than `longest` characters.
std::optional<Flaw> checkLength(std::string_view text, std::size_t longest, const std::string& path);

/// Checks one item of an array, which is an object.
using ItemCheck = std::function<std::optional<Flaw>(const COJsonValue& item, const std::string& path)>;
/// An array of objects.
std::optional<Flaw> checkItems(const COJsonValue* array, const std::string& path, const ItemCheck& check);
/// The same, but not an empty one.
std::optional<Flaw> checkSomeItems(const COJsonValue* array, const std::string& path, const ItemCheck& check);

/// A number from 0 to 2, if there is one.
std::optional<Flaw> checkTemperature(const COJsonValue* temperature, const std::string& path);

}  // namespace standin
