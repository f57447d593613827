#include "variants.h"

#include <utility>

CMVariant variantOf(const ICOJsonValue& value) {
  switch (value.obtainType()) {
    case JsonType::String:
      return std::string(value.obtainString());
    case JsonType::Number:
      return value.obtainNumber();
    case JsonType::Array: {
      CMVariantList list;
      for (std::size_t i = 0; i < value.obtainArraySize(); ++i) list.push_back(variantOf(*value.obtainArrayItem(i)));
      return list;
    }
    case JsonType::Object: {
      CMVariantMap map;
      for (const auto& [key, member] : value.obtainJsonMembers()) map[std::string(key)] = variantOf(*member);
      return map;
    }
    default:
      return {};
  }
}
