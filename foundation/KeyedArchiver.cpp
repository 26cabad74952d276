#include "foundation/KeyedArchiver.h"

#include <jansson.h>

#include <cstdlib>

#include "foundation/AtomicFile.h"
#include "foundation/JsonCodec.h"

namespace foundation {

KeyedArchiver::KeyedArchiver() : object_(json_object()) {}

KeyedArchiver::~KeyedArchiver() {
  json_decref(object_);
}

std::string KeyedArchiver::archivedData(const Archivable& root) {
  json_t* json = encodeNested(root);
  std::string text = dump(json);
  json_decref(json);
  return text;
}

std::string KeyedArchiver::archivedData(const Value& root) {
  json_t* json = JsonCodec::encode(root);
  std::string text = dump(json);
  json_decref(json);
  return text;
}

bool KeyedArchiver::archiveRootObject(const Archivable& root, const std::filesystem::path& path) {
  return !AtomicFile::write(path, archivedData(root));
}

bool KeyedArchiver::archiveRootValue(const Value& root, const std::filesystem::path& path) {
  return !AtomicFile::write(path, archivedData(root));
}

void KeyedArchiver::encodeBool(std::string_view key, bool flag) {
  set(key, json_boolean(flag));
}

void KeyedArchiver::encodeInt32(std::string_view key, std::int32_t number) {
  set(key, json_integer(number));
}

void KeyedArchiver::encodeInt64(std::string_view key, std::int64_t number) {
  set(key, json_integer(number));
}

void KeyedArchiver::encodeDouble(std::string_view key, double number) {
  set(key, JsonCodec::encode(Value(number)));
}

void KeyedArchiver::encodeString(std::string_view key, std::string_view text) {
  set(key, JsonCodec::encode(Value(text)));
}

void KeyedArchiver::encodeDate(std::string_view key, Date date) {
  set(key, JsonCodec::encode(Value(date)));
}

void KeyedArchiver::encodeBytes(std::string_view key, Value::Bytes data) {
  set(key, JsonCodec::encode(Value(std::move(data))));
}

void KeyedArchiver::encodeValue(std::string_view key, const Value& value) {
  set(key, JsonCodec::encode(value));
}

void KeyedArchiver::encodeObject(std::string_view key, const Archivable& object) {
  set(key, encodeNested(object));
}

void KeyedArchiver::encodeObjectList(std::string_view key,
                                     const std::vector<const Archivable*>& objects) {
  json_t* array = json_array();
  for (const Archivable* object : objects) {
    if (object)
      json_array_append_new(array, encodeNested(*object));
  }
  set(key, array);
}

void KeyedArchiver::set(std::string_view key, json_t* json) {
  json_object_set_new_nocheck(object_, JsonCodec::escapeKey(key).c_str(), json);
}

json_t* KeyedArchiver::encodeNested(const Archivable& object) {
  KeyedArchiver nested;
  object.encodeWithCoder(nested);
  json_object_set_new_nocheck(nested.object_, std::string(JsonCodec::kClassKey).c_str(),
                              json_string(std::string(object.archiveClassName()).c_str()));
  return json_incref(nested.object_);
}

std::string KeyedArchiver::dump(json_t* json) {
  char* text = json_dumps(json, JSON_COMPACT | JSON_ENCODE_ANY);
  std::string result = text ? text : "";
  std::free(text);
  return result;
}

}  // namespace foundation
