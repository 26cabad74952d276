#include "analytics/core/report/TallixDictionaryRecord.h"

#include "analytics/core/report/TallixProtocolData.h"

namespace tallix {

using foundation::Value;

void TallixDictionaryRecord::append(const Value& dictionary, Value::Bytes& data) {
  const Value::Dictionary* entries = dictionary.dictionary();
  if (!entries) {
    TallixProtocolData::appendUshort(0, data);
    return;
  }
  TallixProtocolData::appendUshort(static_cast<int>(entries->size()), data);
  for (const auto& [key, value] : *entries) {
    TallixProtocolData::appendString(key, data);
    appendValueText(value, data);
  }
}

void TallixDictionaryRecord::appendValueText(const Value& value, Value::Bytes& data) {
  // A string is its own description; writing it directly spares a copy per value.
  if (const std::string* text = value.string())
    TallixProtocolData::appendString(*text, data);
  else
    TallixProtocolData::appendString(value.description(), data);
}

}  // namespace tallix
