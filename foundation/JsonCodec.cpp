#include "foundation/JsonCodec.h"

#include <jansson.h>

#include <cmath>
#include <cstring>

#include "foundation/Base64.h"

namespace foundation {
namespace {

constexpr std::string_view kDateTag = "$date";
constexpr std::string_view kBytesTag = "$bytes";
constexpr std::string_view kDoubleTag = "$double";
constexpr std::string_view kRawStringTag = "$rawstring";
// Dictionary keys that are not UTF-8 (JSON keys must be) keep their bytes in base64.
constexpr std::string_view kRawKeyPrefix = "$raw:";

std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

bool isValidUtf8WithoutNul(std::string_view text) {
  if (std::memchr(text.data(), 0, text.size()))
    return false;
  json_t* probe = json_stringn(text.data(), text.size());  // refuses malformed UTF-8
  json_decref(probe);
  return probe != nullptr;
}

json_t* tagged(std::string_view tag, json_t* payload) {
  json_t* object = json_object();
  json_object_set_new_nocheck(object, std::string(tag).c_str(), payload);
  return object;
}

json_t* encodeString(const std::string& text) {
  if (json_t* string = json_stringn(text.data(), text.size()))
    return string;
  return tagged(kRawStringTag, json_string(Base64::encode(bytesOf(text)).c_str()));
}

json_t* encodeDouble(double number) {
  if (std::isfinite(number))
    return json_real(number);
  return tagged(kDoubleTag, json_string(std::isnan(number) ? "nan" : number > 0 ? "inf" : "-inf"));
}

std::optional<double> decodeNonFinite(std::string_view text) {
  if (text == "nan")
    return NAN;
  if (text == "inf")
    return INFINITY;
  if (text == "-inf")
    return -INFINITY;
  return std::nullopt;
}

std::optional<Value> decodeTagged(std::string_view tag, const json_t* payload) {
  if (tag == kDateTag && json_is_number(payload)) {
    return Value(Date::fromTimeIntervalSince1970(json_number_value(payload)));
  }
  if (!json_is_string(payload))
    return std::nullopt;
  const std::string_view text(json_string_value(payload), json_string_length(payload));
  if (tag == kDoubleTag) {
    if (const auto number = decodeNonFinite(text))
      return Value(*number);
    return std::nullopt;
  }
  const auto data = Base64::decode(text);
  if (!data)
    return std::nullopt;
  if (tag == kBytesTag)
    return Value(std::move(*data));
  if (tag == kRawStringTag)
    return Value(std::string(data->begin(), data->end()));
  return std::nullopt;
}

std::optional<Value> decodeObject(const json_t* json) {
  if (json_object_size(json) == 1) {
    const char* onlyKey = json_object_iter_key(json_object_iter(const_cast<json_t*>(json)));
    if (onlyKey[0] == '$' && onlyKey[1] != '$' && std::strncmp(onlyKey, "$raw:", 5) != 0) {
      return decodeTagged(onlyKey, json_object_get(json, onlyKey));
    }
  }
  Value::Dictionary entries;
  const char* key;
  json_t* item;
  json_object_foreach(const_cast<json_t*>(json), key, item) {
    auto plainKey = JsonCodec::unescapeKey(key);
    auto value = JsonCodec::decode(item);
    if (!plainKey || !value)
      return std::nullopt;
    entries.emplace(std::move(*plainKey), std::move(*value));
  }
  return Value(std::move(entries));
}

}  // namespace

json_t* JsonCodec::encode(const Value& value) {
  switch (value.type()) {
    case Value::Type::Null:
      return json_null();
    case Value::Type::Bool:
      return json_boolean(*value.boolean());
    case Value::Type::Integer:
      return json_integer(*value.integer());
    case Value::Type::Double:
      return encodeDouble(*value.number());
    case Value::Type::String:
      return encodeString(*value.string());
    case Value::Type::Bytes:
      return tagged(kBytesTag, json_string(Base64::encode(*value.bytes()).c_str()));
    case Value::Type::Date:
      return tagged(kDateTag, json_real(value.date()->timeIntervalSince1970()));
    case Value::Type::Array: {
      json_t* array = json_array();
      for (const auto& item : *value.array())
        json_array_append_new(array, encode(item));
      return array;
    }
    case Value::Type::Dictionary: {
      json_t* object = json_object();
      for (const auto& [key, item] : *value.dictionary()) {
        json_object_set_new_nocheck(object, escapeKey(key).c_str(), encode(item));
      }
      return object;
    }
  }
  return json_null();
}

std::optional<Value> JsonCodec::decode(const json_t* json) {
  switch (json_typeof(json)) {
    case JSON_NULL:
      return Value();
    case JSON_TRUE:
      return Value(true);
    case JSON_FALSE:
      return Value(false);
    case JSON_INTEGER:
      return Value(static_cast<std::int64_t>(json_integer_value(json)));
    case JSON_REAL:
      return Value(json_real_value(json));
    case JSON_STRING:
      return Value(std::string(json_string_value(json), json_string_length(json)));
    case JSON_ARRAY: {
      Value::Array items;
      items.reserve(json_array_size(json));
      for (std::size_t i = 0; i < json_array_size(json); ++i) {
        auto item = decode(json_array_get(json, i));
        if (!item)
          return std::nullopt;
        items.push_back(std::move(*item));
      }
      return Value(std::move(items));
    }
    case JSON_OBJECT:
      return decodeObject(json);
  }
  return std::nullopt;
}

std::string JsonCodec::escapeKey(std::string_view key) {
  if (!isValidUtf8WithoutNul(key)) {
    return std::string(kRawKeyPrefix) + Base64::encode(bytesOf(key));
  }
  return key.starts_with('$') ? "$" + std::string(key) : std::string(key);
}

std::optional<std::string> JsonCodec::unescapeKey(std::string_view stored) {
  if (stored.starts_with("$$"))
    return std::string(stored.substr(1));
  if (stored.starts_with(kRawKeyPrefix)) {
    const auto data = Base64::decode(stored.substr(kRawKeyPrefix.size()));
    if (!data)
      return std::nullopt;
    return std::string(data->begin(), data->end());
  }
  if (stored.starts_with('$'))
    return std::nullopt;  // a tag where a key belongs
  return std::string(stored);
}

}  // namespace foundation
