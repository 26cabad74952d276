#include "tools/tallix-collector/TallixAvro.h"

#include <stdexcept>
#include <string>

namespace tallix {

TallixAvroValue::TallixAvroValue(avro_value_iface_t* type) {
  if (avro_generic_value_new(type, &value_) != 0)
    throw std::bad_alloc();
}

TallixAvroValue::~TallixAvroValue() {
  avro_value_decref(&value_);
}

TallixAvroType::TallixAvroType(std::string_view schemaText) {
  if (avro_schema_from_json_length(schemaText.data(), schemaText.size(), &schema_) != 0)
    throw std::logic_error(std::string("Avro schema does not parse: ") + avro_strerror());
  makeClass();
}

TallixAvroType::TallixAvroType(avro_schema_t schema) : schema_(avro_schema_incref(schema)) {
  makeClass();
}

TallixAvroType::~TallixAvroType() {
  avro_value_iface_decref(class_);
  avro_schema_decref(schema_);
}

void TallixAvroType::makeClass() {
  class_ = avro_generic_class_from_schema(schema_);
  if (!class_) {
    avro_schema_decref(schema_);
    throw std::logic_error(std::string("no Avro value class: ") + avro_strerror());
  }
}

}  // namespace tallix
