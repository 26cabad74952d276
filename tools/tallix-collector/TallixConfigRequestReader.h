#pragma once

#include <avro.h>

#include <stdexcept>
#include <string_view>

#include "tools/tallix-collector/TallixJson.h"

namespace tallix {

// A configuration request body that does not decode; what() says where and why.
class TallixConfigRequestRefused : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Decodes a configuration request body as the agent writes it into JSON, one member per field.
//
// The agent writes "geo" with union index 0 and then the Geolocation record's 8+8+4 bytes,
// although branch 0 of the schema's union is "null". No reader schema can resolve that (branch 0
// is null, full stop), so the fields are read one by one with their own schemas and "geo" by
// hand: the index must be 0 and the Geolocation record follows.
class TallixConfigRequestReader {
 public:
  static TallixJson read(std::string_view body);

 private:
  static json_t* readField(avro_reader_t reader, avro_schema_t type, const char* name);
  static json_t* readGeolocation(avro_reader_t reader, avro_schema_t geoUnion);
};

}  // namespace tallix
