#include "tools/tallix-collector/TallixConfigRequestReader.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "analytics/config/exchange/TallixBeaconSchemas.h"
#include "tools/tallix-collector/TallixAvro.h"
#include "tools/tallix-collector/TallixAvroToJson.h"

namespace tallix {

namespace {

struct ReaderRelease {
  void operator()(avro_reader_t reader) const { avro_reader_free(reader); }
};

// The branch after the "null" one holds the Geolocation record.
constexpr int kGeolocationBranch = 1;

}  // namespace

TallixJson TallixConfigRequestReader::read(std::string_view body) {
  static const TallixAvroType request(TallixBeaconSchemas::kConfigRequest);
  const std::unique_ptr<avro_reader_t_, ReaderRelease> reader(
      avro_reader_memory(body.data(), static_cast<std::int64_t>(body.size())));
  TallixJson decoded(json_object());
  for (std::size_t index = 0; index < avro_schema_record_size(request.schema()); ++index) {
    const char* name = avro_schema_record_field_name(request.schema(), static_cast<int>(index));
    const avro_schema_t type =
        avro_schema_record_field_get_by_index(request.schema(), static_cast<int>(index));
    json_t* field = std::strcmp(name, "geo") == 0 ? readGeolocation(reader.get(), type)
                                                  : readField(reader.get(), type, name);
    json_object_set_new(decoded.get(), name, field);
  }
  char extra = 0;
  if (avro_read(reader.get(), &extra, 1) == 0)
    throw TallixConfigRequestRefused("bytes left after the geo record");
  return decoded;
}

json_t* TallixConfigRequestReader::readField(avro_reader_t reader, avro_schema_t type,
                                             const char* name) {
  const TallixAvroType fieldType(type);
  TallixAvroValue value = fieldType.newValue();
  if (avro_value_read(reader, value.get()) != 0)
    throw TallixConfigRequestRefused(std::string(name) + " does not read: " + avro_strerror());
  return TallixAvroToJson::convert(*value.get());
}

json_t* TallixConfigRequestReader::readGeolocation(avro_reader_t reader, avro_schema_t geoUnion) {
  const TallixAvroType unionType(geoUnion);
  TallixAvroValue index = unionType.newValue();
  int discriminant = -1;
  if (avro_value_read(reader, index.get()) != 0 ||
      avro_value_get_discriminant(index.get(), &discriminant) != 0 || discriminant != 0) {
    throw TallixConfigRequestRefused(
        "geo must be union index 0 followed by a Geolocation record, as the agent writes it");
  }
  return readField(reader, avro_schema_union_branch(geoUnion, kGeolocationBranch), "geo");
}

}  // namespace tallix
