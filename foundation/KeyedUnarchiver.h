#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Archivable.h"
#include "foundation/Value.h"

struct json_t;

namespace foundation {

// Reads what KeyedArchiver wrote. A missing key decodes as nothing; a key of the wrong type
// fails the whole read, so a damaged or foreign file yields nothing rather than half an
// object. Reads never throw.
class KeyedUnarchiver {
 public:
  template <Unarchivable T>
  static std::shared_ptr<T> unarchiveObjectWithData(std::string_view data);
  template <Unarchivable T>
  static std::shared_ptr<T> unarchiveObjectWithFile(const std::filesystem::path& path);
  static std::optional<Value> unarchiveValueWithData(std::string_view data);
  static std::optional<Value> unarchiveValueWithFile(const std::filesystem::path& path);

  KeyedUnarchiver(const KeyedUnarchiver&) = delete;
  KeyedUnarchiver& operator=(const KeyedUnarchiver&) = delete;

  bool containsValueForKey(std::string_view key) const;
  std::optional<bool> decodeBool(std::string_view key);
  std::optional<std::int32_t> decodeInt32(std::string_view key);
  std::optional<std::int64_t> decodeInt64(std::string_view key);
  std::optional<double> decodeDouble(std::string_view key);
  std::optional<std::string> decodeString(std::string_view key);
  std::optional<Date> decodeDate(std::string_view key);
  std::optional<Value::Bytes> decodeBytes(std::string_view key);
  std::optional<Value> decodeValue(std::string_view key);
  template <Unarchivable T>
  std::shared_ptr<T> decodeObject(std::string_view key);
  template <Unarchivable T>
  std::optional<std::vector<std::shared_ptr<T>>> decodeObjects(std::string_view key);

  // For initWithCoder: the contents are present but make no sense.
  void fail() { failed_ = true; }
  bool failed() const { return failed_; }

 private:
  struct JsonRelease {
    void operator()(json_t* json) const;
  };
  using JsonRef = std::unique_ptr<json_t, JsonRelease>;

  // Reads keys of the object, which must outlive the coder.
  explicit KeyedUnarchiver(const json_t* object) : object_(object) {}
  static JsonRef parse(std::string_view data);
  static bool arrayElements(const json_t* json, std::vector<const json_t*>& elements);
  static std::optional<std::string> readFile(const std::filesystem::path& path);
  static bool isArchiveOf(const json_t* json, std::string_view className);
  const json_t* lookUp(std::string_view key) const;
  // The value under a key, or nothing; present but unreadable fails the coder.
  std::optional<Value> decodeChecked(std::string_view key);
  template <typename Result>
  std::optional<Result> expect(std::optional<Result> converted);
  template <Unarchivable T>
  static std::shared_ptr<T> decodeArchive(const json_t* json);

  const json_t* object_;
  bool failed_ = false;
};

template <Unarchivable T>
std::shared_ptr<T> KeyedUnarchiver::decodeArchive(const json_t* json) {
  if (!isArchiveOf(json, T::kArchiveClassName))
    return nullptr;
  KeyedUnarchiver coder(json);
  std::shared_ptr<T> object;
  try {
    object = T::initWithCoder(coder);
  } catch (...) {  // a reader that chokes on odd contents still must not take the caller down
    return nullptr;
  }
  return coder.failed() ? nullptr : object;
}

template <Unarchivable T>
std::shared_ptr<T> KeyedUnarchiver::unarchiveObjectWithData(std::string_view data) {
  const JsonRef json = parse(data);
  return json ? decodeArchive<T>(json.get()) : nullptr;
}

template <Unarchivable T>
std::shared_ptr<T> KeyedUnarchiver::unarchiveObjectWithFile(const std::filesystem::path& path) {
  const auto data = readFile(path);
  return data ? unarchiveObjectWithData<T>(*data) : nullptr;
}

template <Unarchivable T>
std::shared_ptr<T> KeyedUnarchiver::decodeObject(std::string_view key) {
  const json_t* json = lookUp(key);
  if (!json)
    return nullptr;
  auto object = decodeArchive<T>(json);
  if (!object)
    fail();
  return object;
}

template <Unarchivable T>
std::optional<std::vector<std::shared_ptr<T>>> KeyedUnarchiver::decodeObjects(
    std::string_view key) {
  const json_t* json = lookUp(key);
  if (!json)
    return std::nullopt;
  std::vector<const json_t*> elements;
  if (!arrayElements(json, elements)) {
    fail();
    return std::nullopt;
  }
  std::vector<std::shared_ptr<T>> objects;
  for (const json_t* element : elements) {
    auto object = decodeArchive<T>(element);
    if (!object) {
      fail();
      return std::nullopt;
    }
    objects.push_back(std::move(object));
  }
  return objects;
}

}  // namespace foundation
