// The value in which properties cross the library's boundary.
#include "text_internal.h"

#include <cf/immortal.h>
#include <cf/text.h>
#include <cf/variant.h>

#include <array>
#include <utility>

CMVariant::CMVariant() noexcept = default;

CMVariant::CMVariant(std::string text) noexcept : value_(std::move(text)) {}

CMVariant::CMVariant(const char* text) : value_(std::string(text != nullptr ? text : "")) {}

CMVariant::CMVariant(double number) noexcept : value_(number) {}

CMVariant::CMVariant(CMVariantList list) : value_(std::make_unique<CMVariantList>(std::move(list))) {}

CMVariant::CMVariant(CMVariantMap map) : value_(std::make_unique<CMVariantMap>(std::move(map))) {}

CMVariant::CMVariant(const CMVariant& other) {
  switch (other.getValueType()) {
    case ValueType::Null:
      break;
    case ValueType::String:
      value_ = other.stringRef();
      break;
    case ValueType::Double:
      value_ = other.doubleValue();
      break;
    case ValueType::List:
      value_ = std::make_unique<CMVariantList>(other.listRef());
      break;
    case ValueType::Map:
      value_ = std::make_unique<CMVariantMap>(other.mapValue());
      break;
  }
}

CMVariant::CMVariant(CMVariant&& other) noexcept : value_(std::exchange(other.value_, Value())) {}

// Both assignments take the new content out before the old one goes, as `other` may be a part of it.
CMVariant& CMVariant::operator=(const CMVariant& other) {
  CMVariant copy(other);
  value_.swap(copy.value_);
  return *this;
}

CMVariant& CMVariant::operator=(CMVariant&& other) noexcept {
  CMVariant taken(std::move(other));
  value_.swap(taken.value_);
  return *this;
}

CMVariant::~CMVariant() = default;

CMVariant::ValueType CMVariant::getValueType() const noexcept {
  constexpr std::array kTypes = {ValueType::Null, ValueType::String, ValueType::Double, ValueType::List,
                                 ValueType::Map};
  return kTypes[value_.index()];
}

bool CMVariant::isNull() const noexcept { return std::holds_alternative<std::monostate>(value_); }

std::string CMVariant::stringValue() const {
  if (const auto* number = std::get_if<double>(&value_)) return cfNumberToText(*number);
  return stringRef();
}

double CMVariant::doubleValue() const noexcept {
  if (const auto* number = std::get_if<double>(&value_)) return *number;
  return cfTextToNumber(trimmedView(stringRef())).value_or(0.0);
}

const CMVariantMap& CMVariant::mapValue() const noexcept {
  static CFImmortal<CMVariantMap> noMembers;
  const auto* map = std::get_if<std::unique_ptr<CMVariantMap>>(&value_);
  return map != nullptr ? **map : noMembers.get();
}

const CMVariantList& CMVariant::listRef() const noexcept {
  static CFImmortal<CMVariantList> noItems;
  const auto* list = std::get_if<std::unique_ptr<CMVariantList>>(&value_);
  return list != nullptr ? **list : noItems.get();
}

const std::string& CMVariant::stringRef() const noexcept {
  static CFImmortal<std::string> noText;
  const auto* text = std::get_if<std::string>(&value_);
  return text != nullptr ? *text : noText.get();
}
