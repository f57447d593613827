/// @file
/// The value in which properties cross the library's boundary.
#pragma once

#include <cf/export.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

class CMVariant;
/// An ordered list of variants.
using CMVariantList = std::vector<CMVariant>;
/// Variants by name, in ascending order of the name's bytes.
using CMVariantMap = std::map<std::string, CMVariant>;

/// A value that is nothing, a text (UTF-8), a number, a list or a map, with copies of its own of all it holds.
///
/// Reading it as another type gives an empty value, never an error. Copying and destroying go down into nested lists
/// and maps, so their depth is bounded by the stack. One object is used by one thread at a time.
class CMVariant {
 public:
  /// The type's code on the boundary; codes between these are not used.
  enum class ValueType : std::uint32_t { Null = 0, String = 1, Double = 5, List = 6, Map = 7 };

  /// Null.
  CF_API CMVariant() noexcept;
  /// A String.
  CF_API CMVariant(std::string text) noexcept;  // NOLINT(google-explicit-constructor): {"a", 1.0} reads as intended
  /// A String; null gives an empty text.
  CF_API CMVariant(const char* text);
  /// A Double.
  CF_API CMVariant(double number) noexcept;
  /// A List.
  CF_API CMVariant(CMVariantList list);
  /// A Map.
  CF_API CMVariant(CMVariantMap map);
  /// A copy of all that it holds.
  CF_API CMVariant(const CMVariant& other);
  /// Takes what `other` holds, which becomes Null.
  CF_API CMVariant(CMVariant&& other) noexcept;
  /// As the constructor.
  CF_API CMVariant& operator=(const CMVariant& other);
  /// As the constructor.
  CF_API CMVariant& operator=(CMVariant&& other) noexcept;
  CF_API ~CMVariant();

  /// What it is.
  CF_API ValueType getValueType() const noexcept;
  /// Whether it is nothing.
  CF_API bool isNull() const noexcept;

  /// The text of a String; the shortest round-trip decimal of a Double ("0.7", "2"); "" of any other.
  CF_API std::string stringValue() const;

  /// The number of a Double; the number that the whole trimmed text of a String reads as, whatever the locale; 0.0
  /// when that is no number and for any other type.
  CF_API double doubleValue() const noexcept;

  /// The map of a Map; else an empty one. The reference lives as long as this value is neither changed nor destroyed.
  CF_API const CMVariantMap& mapValue() const noexcept;
  /// The list of a List; else an empty one. Lives as the map does.
  CF_API const CMVariantList& listRef() const noexcept;

  /// The text of a String without a copy; "" of any other. Lives as long as this value is neither changed nor
  /// destroyed.
  CF_API const std::string& stringRef() const noexcept;

 private:
  // The containers stand behind pointers because they hold this very type, which is incomplete here.
  using Value =
      std::variant<std::monostate, std::string, double, std::unique_ptr<CMVariantList>, std::unique_ptr<CMVariantMap>>;
  Value value_;
};
