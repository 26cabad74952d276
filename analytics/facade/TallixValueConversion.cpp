#include "analytics/facade/TallixValueConversion.h"

namespace tallix {

using foundation::Value;

Value toValue(const TallixValue& value) {
  switch (value.type()) {
    case TallixValue::Type::Null:
      break;
    case TallixValue::Type::Bool:
      return *value.boolean();
    case TallixValue::Type::Integer:
      return *value.integer();
    case TallixValue::Type::Double:
      return *value.number();
    case TallixValue::Type::String:
      return *value.string();
    case TallixValue::Type::Array: {
      Value::Array items;
      for (const TallixValue& item : *value.array())
        items.push_back(toValue(item));
      return items;
    }
    case TallixValue::Type::Dictionary: {
      Value::Dictionary entries;
      for (const auto& [key, entry] : *value.dictionary())
        entries.emplace(key, toValue(entry));
      return entries;
    }
  }
  return Value();
}

}  // namespace tallix
