#include "tools/tallix-collector/TallixAvroToJson.h"

#include <cstdint>

#include "tools/tallix-collector/TallixJsonValues.h"

namespace tallix {

json_t* TallixAvroToJson::convert(const avro_value_t& value) {
  switch (avro_value_get_type(&value)) {
    case AVRO_RECORD:
      return record(value);
    case AVRO_ARRAY:
      return array(value);
    case AVRO_UNION: {
      avro_value_t branch;
      avro_value_get_current_branch(&value, &branch);
      return convert(branch);
    }
    default:
      return scalar(value);
  }
}

json_t* TallixAvroToJson::record(const avro_value_t& value) {
  json_t* object = json_object();
  std::size_t count = 0;
  avro_value_get_size(&value, &count);
  for (std::size_t index = 0; index < count; ++index) {
    avro_value_t field;
    const char* name = nullptr;
    avro_value_get_by_index(&value, index, &field, &name);
    json_object_set_new(object, name, convert(field));
  }
  return object;
}

json_t* TallixAvroToJson::array(const avro_value_t& value) {
  json_t* elements = json_array();
  std::size_t count = 0;
  avro_value_get_size(&value, &count);
  for (std::size_t index = 0; index < count; ++index) {
    avro_value_t element;
    avro_value_get_by_index(&value, index, &element, nullptr);
    json_array_append_new(elements, convert(element));
  }
  return elements;
}

json_t* TallixAvroToJson::scalar(const avro_value_t& value) {
  switch (avro_value_get_type(&value)) {
    case AVRO_STRING: {
      const char* text = nullptr;
      std::size_t size = 0;
      avro_value_get_string(&value, &text, &size);
      // The size counts the closing NUL.
      return TallixJsonValues::text({text, size > 0 ? size - 1 : 0});
    }
    case AVRO_BYTES: {
      const void* data = nullptr;
      std::size_t size = 0;
      avro_value_get_bytes(&value, &data, &size);
      return TallixJsonValues::text({static_cast<const char*>(data), size});
    }
    case AVRO_INT32: {
      std::int32_t number = 0;
      avro_value_get_int(&value, &number);
      return json_integer(number);
    }
    case AVRO_INT64: {
      std::int64_t number = 0;
      avro_value_get_long(&value, &number);
      return json_integer(number);
    }
    case AVRO_FLOAT: {
      float number = 0;
      avro_value_get_float(&value, &number);
      return TallixJsonValues::real(number);
    }
    case AVRO_DOUBLE: {
      double number = 0;
      avro_value_get_double(&value, &number);
      return TallixJsonValues::real(number);
    }
    case AVRO_BOOLEAN: {
      int truth = 0;
      avro_value_get_boolean(&value, &truth);
      return json_boolean(truth);
    }
    case AVRO_ENUM: {
      int symbol = 0;
      avro_value_get_enum(&value, &symbol);
      return json_string(avro_schema_enum_get(avro_value_get_schema(&value), symbol));
    }
    default:
      return json_null();
  }
}

}  // namespace tallix
