#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Archivable.h"
#include "foundation/Value.h"

struct json_t;

namespace foundation {

// Writes one archivable object, its typed keys and the objects nested in it, as one JSON
// object: readable with any text tool, and written to disk atomically with mode 0600.
class KeyedArchiver {
 public:
  KeyedArchiver();
  ~KeyedArchiver();
  KeyedArchiver(const KeyedArchiver&) = delete;
  KeyedArchiver& operator=(const KeyedArchiver&) = delete;

  static std::string archivedData(const Archivable& root);
  static std::string archivedData(const Value& root);
  // False when the file cannot be written; the old file, if any, is then left as it was.
  static bool archiveRootObject(const Archivable& root, const std::filesystem::path& path);
  static bool archiveRootValue(const Value& root, const std::filesystem::path& path);

  void encodeBool(std::string_view key, bool flag);
  void encodeInt32(std::string_view key, std::int32_t number);
  void encodeInt64(std::string_view key, std::int64_t number);
  void encodeDouble(std::string_view key, double number);
  void encodeString(std::string_view key, std::string_view text);
  void encodeDate(std::string_view key, Date date);
  void encodeBytes(std::string_view key, Value::Bytes data);
  // Any value: arrays and dictionaries of the dynamic type included.
  void encodeValue(std::string_view key, const Value& value);
  void encodeObject(std::string_view key, const Archivable& object);
  template <typename T>
  void encodeObjects(std::string_view key, const std::vector<std::shared_ptr<T>>& objects);

 private:
  void encodeObjectList(std::string_view key, const std::vector<const Archivable*>& objects);
  void set(std::string_view key, json_t* json);
  static json_t* encodeNested(const Archivable& object);
  static std::string dump(json_t* json);

  json_t* object_;
};

template <typename T>
void KeyedArchiver::encodeObjects(std::string_view key,
                                  const std::vector<std::shared_ptr<T>>& objects) {
  std::vector<const Archivable*> list;
  list.reserve(objects.size());
  for (const auto& object : objects)
    list.push_back(object.get());
  encodeObjectList(key, list);
}

}  // namespace foundation
