#pragma once

#include <avro.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace tallix::avro {

// Owners of avro-c's handles, so that every early return of the exchange releases what it
// took. Failures come back as null or nothing; lastError() then holds avro-c's reason.

struct SchemaRelease {
  void operator()(avro_obj_t* schema) const { avro_schema_decref(schema); }
};
using Schema = std::unique_ptr<avro_obj_t, SchemaRelease>;

struct ValueClassRelease {
  void operator()(avro_value_iface_t* valueClass) const { avro_value_iface_decref(valueClass); }
};
using ValueClass = std::unique_ptr<avro_value_iface_t, ValueClassRelease>;

struct ReaderRelease {
  void operator()(avro_reader_t reader) const { avro_reader_free(reader); }
};
using Reader = std::unique_ptr<std::remove_pointer_t<avro_reader_t>, ReaderRelease>;

struct WriterRelease {
  void operator()(avro_writer_t writer) const { avro_writer_free(writer); }
};
using Writer = std::unique_ptr<std::remove_pointer_t<avro_writer_t>, WriterRelease>;

inline const char* lastError() {
  return avro_strerror();
}

Schema parseSchema(std::string_view json);

struct SchemaText {
  Schema& schema;
  std::string_view json;
  const char* failureLine;
};
// Parses the texts in order into their schemas, stopping at the first that fails, with its
// line logged.
bool parseInOrder(std::initializer_list<SchemaText> texts);
ValueClass genericClassOf(avro_schema_t schema);
// The memory must outlive the reader or writer.
Reader memoryReader(std::span<const std::uint8_t> bytes);
Writer memoryWriter(std::span<std::uint8_t> buffer);

// One generic value, holding its own reference to its class.
class GenericValue {
 public:
  static std::optional<GenericValue> create(avro_value_iface_t* valueClass);
  GenericValue(GenericValue&& other) noexcept : value_(other.value_) { other.value_ = {}; }
  GenericValue& operator=(GenericValue&&) = delete;
  GenericValue(const GenericValue&) = delete;
  ~GenericValue();

  avro_value_t* get() { return &value_; }
  const avro_value_t* get() const { return &value_; }

 private:
  GenericValue() = default;
  avro_value_t value_{};
};

// The value as one line of JSON, or nothing when avro-c cannot render it.
std::optional<std::string> oneLineJson(const avro_value_t& value);

}  // namespace tallix::avro
