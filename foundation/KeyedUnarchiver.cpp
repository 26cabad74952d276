#include "foundation/KeyedUnarchiver.h"

#include <jansson.h>

#include <limits>

#include "foundation/AtomicFile.h"
#include "foundation/JsonCodec.h"

namespace foundation {
namespace {

template <typename T>
std::optional<T> copyOf(const T* found) {
  return found ? std::optional<T>(*found) : std::nullopt;
}

}  // namespace

void KeyedUnarchiver::JsonRelease::operator()(json_t* json) const {
  json_decref(json);
}

std::optional<Value> KeyedUnarchiver::unarchiveValueWithData(std::string_view data) {
  const JsonRef json = parse(data);
  return json ? JsonCodec::decode(json.get()) : std::nullopt;
}

std::optional<Value> KeyedUnarchiver::unarchiveValueWithFile(const std::filesystem::path& path) {
  const auto data = readFile(path);
  return data ? unarchiveValueWithData(*data) : std::nullopt;
}

KeyedUnarchiver::JsonRef KeyedUnarchiver::parse(std::string_view data) {
  json_error_t error;
  return JsonRef(json_loadb(data.data(), data.size(),
                            JSON_DECODE_ANY | JSON_ALLOW_NUL | JSON_REJECT_DUPLICATES, &error));
}

std::optional<std::string> KeyedUnarchiver::readFile(const std::filesystem::path& path) {
  return AtomicFile::read(path);
}

bool KeyedUnarchiver::arrayElements(const json_t* json, std::vector<const json_t*>& elements) {
  if (!json_is_array(json))
    return false;
  for (std::size_t i = 0; i < json_array_size(json); ++i) {
    elements.push_back(json_array_get(json, i));
  }
  return true;
}

bool KeyedUnarchiver::isArchiveOf(const json_t* json, std::string_view className) {
  const json_t* tag = json_object_get(json, std::string(JsonCodec::kClassKey).c_str());
  return json_is_string(tag) &&
         std::string_view(json_string_value(tag), json_string_length(tag)) == className;
}

const json_t* KeyedUnarchiver::lookUp(std::string_view key) const {
  return json_object_get(object_, JsonCodec::escapeKey(key).c_str());
}

bool KeyedUnarchiver::containsValueForKey(std::string_view key) const {
  return lookUp(key) != nullptr;
}

std::optional<Value> KeyedUnarchiver::decodeChecked(std::string_view key) {
  const json_t* json = lookUp(key);
  if (!json)
    return std::nullopt;
  auto value = JsonCodec::decode(json);
  if (!value)
    fail();
  return value;
}

template <typename Result>
std::optional<Result> KeyedUnarchiver::expect(std::optional<Result> converted) {
  if (!converted)
    fail();
  return converted;
}

std::optional<bool> KeyedUnarchiver::decodeBool(std::string_view key) {
  const auto value = decodeChecked(key);
  return value ? expect(value->boolean()) : std::nullopt;
}

std::optional<std::int64_t> KeyedUnarchiver::decodeInt64(std::string_view key) {
  const auto value = decodeChecked(key);
  if (!value)
    return std::nullopt;
  // Only an integer in the file is an integer: a fraction means the file is not ours.
  return expect(value->type() == Value::Type::Integer ? value->integer() : std::nullopt);
}

std::optional<std::int32_t> KeyedUnarchiver::decodeInt32(std::string_view key) {
  const auto number = decodeInt64(key);
  if (!number)
    return std::nullopt;
  const bool fits = *number >= std::numeric_limits<std::int32_t>::min() &&
                    *number <= std::numeric_limits<std::int32_t>::max();
  return expect(fits ? std::optional<std::int32_t>(static_cast<std::int32_t>(*number))
                     : std::nullopt);
}

std::optional<double> KeyedUnarchiver::decodeDouble(std::string_view key) {
  const auto value = decodeChecked(key);
  return value ? expect(value->number()) : std::nullopt;
}

std::optional<std::string> KeyedUnarchiver::decodeString(std::string_view key) {
  const auto value = decodeChecked(key);
  return value ? expect(copyOf(value->string())) : std::nullopt;
}

std::optional<Date> KeyedUnarchiver::decodeDate(std::string_view key) {
  const auto value = decodeChecked(key);
  return value ? expect(value->date()) : std::nullopt;
}

std::optional<Value::Bytes> KeyedUnarchiver::decodeBytes(std::string_view key) {
  const auto value = decodeChecked(key);
  return value ? expect(copyOf(value->bytes())) : std::nullopt;
}

std::optional<Value> KeyedUnarchiver::decodeValue(std::string_view key) {
  return decodeChecked(key);
}

}  // namespace foundation
