#pragma once

#include <avro.h>
#include <jansson.h>

namespace tallix {

// The JSON form of a decoded Avro value: records as objects, enums as their symbol names,
// unions as the value of their branch, bytes as text (they carry identifiers). Returns a new
// reference.
class TallixAvroToJson {
 public:
  static json_t* convert(const avro_value_t& value);

 private:
  static json_t* record(const avro_value_t& value);
  static json_t* array(const avro_value_t& value);
  static json_t* scalar(const avro_value_t& value);
};

}  // namespace tallix
