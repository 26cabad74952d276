#include "analytics/config/exchange/TallixAvro.h"

#include <cstdlib>

#include "analytics/core/support/TallixLog.h"

namespace tallix::avro {

Schema parseSchema(std::string_view json) {
  avro_schema_t schema = nullptr;
  if (avro_schema_from_json_length(json.data(), json.size(), &schema) != 0)
    return nullptr;
  return Schema(schema);
}

bool parseInOrder(std::initializer_list<SchemaText> texts) {
  for (const SchemaText& text : texts) {
    text.schema = parseSchema(text.json);
    if (!text.schema) {
      TallixLog::debug("%s", text.failureLine);
      return false;
    }
  }
  return true;
}

ValueClass genericClassOf(avro_schema_t schema) {
  return ValueClass(avro_generic_class_from_schema(schema));
}

Reader memoryReader(std::span<const std::uint8_t> bytes) {
  return Reader(avro_reader_memory(reinterpret_cast<const char*>(bytes.data()),
                                   static_cast<std::int64_t>(bytes.size())));
}

Writer memoryWriter(std::span<std::uint8_t> buffer) {
  return Writer(avro_writer_memory(reinterpret_cast<const char*>(buffer.data()),
                                   static_cast<std::int64_t>(buffer.size())));
}

std::optional<GenericValue> GenericValue::create(avro_value_iface_t* valueClass) {
  GenericValue value;
  if (avro_generic_value_new(valueClass, &value.value_) != 0)
    return std::nullopt;
  return value;
}

GenericValue::~GenericValue() {
  if (value_.self)
    avro_value_decref(&value_);
}

std::optional<std::string> oneLineJson(const avro_value_t& value) {
  char* json = nullptr;
  if (avro_value_to_json(&value, 1, &json) != 0)
    return std::nullopt;
  std::string text(json);
  std::free(json);
  return text;
}

}  // namespace tallix::avro
