#pragma once

#include <avro.h>
#include <jansson.h>

#include <string>

#include "tools/tallix-collector/TallixJson.h"

namespace tallix {

// Fills an Avro value from a JSON document shaped like the value: objects for records, symbol
// names for enums, null or the value itself for unions, strings for bytes. avro-c does not keep the
// schema's defaults, so the schema's JSON text is walked beside the value to supply absent members.
// Throws std::invalid_argument naming the member at fault, e.g. "callbacks/templates/0/method".
class TallixAvroFromJson {
 public:
  // type: the schema's JSON text of this value, parsed.
  static void fill(avro_value_t& value, const json_t* type, const json_t* given,
                   const std::string& path);

 private:
  static void fillRecord(avro_value_t& value, const json_t* type, const json_t* given,
                         const std::string& path);
  static void fillArray(avro_value_t& value, const json_t* type, const json_t* given,
                        const std::string& path);
  static void fillUnion(avro_value_t& value, const json_t* type, const json_t* given,
                        const std::string& path);
  static void fillEnum(avro_value_t& value, const json_t* type, const json_t* given,
                       const std::string& path);
  static void fillPrimitive(avro_value_t& value, const json_t* given, const std::string& path);
  // The member, else the field's default, else an empty record or array or null.
  static TallixJson memberOrDefault(const json_t* field, const json_t* given,
                                    const std::string& path);
};

}  // namespace tallix
