#include "analytics/config/exchange/TallixBeaconRequestEncoder.h"

#include <zlib.h>

#include "analytics/config/exchange/TallixAvro.h"
#include "analytics/config/exchange/TallixBeaconSchemas.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/StringFormat.h"

namespace tallix {

using foundation::Value;

// The separate IosTags and DeviceID texts are parsed as well: they are part of the contract
// with the service, and a text that no longer parses must stop the exchange.
struct TallixBeaconRequestEncoder::Schemas {
  avro::Schema request, iosTags, geolocation, deviceId;
  avro::ValueClass requestClass, geolocationClass;
};

namespace {

constexpr std::int32_t kTallixIdType = 7;
constexpr std::int32_t kVendorIdType = 6;

template <typename Set>
bool setField(avro_value_t& record, const char* name, Set set) {
  avro_value_t field;
  return avro_value_get_by_name(&record, name, &field, nullptr) == 0 && set(&field) == 0;
}

bool setString(avro_value_t& record, const char* name, const std::string& text) {
  return setField(record, name, [&](avro_value_t* field) {
    return avro_value_set_string_len(field, text.c_str(), text.size() + 1);
  });
}

bool setBytes(avro_value_t& record, const char* name, const std::string& data) {
  return setField(record, name, [&](avro_value_t* field) {
    return avro_value_set_bytes(field, const_cast<char*>(data.data()), data.size());
  });
}

bool setInt(avro_value_t& record, const char* name, std::int32_t number) {
  return setField(record, name,
                  [&](avro_value_t* field) { return avro_value_set_int(field, number); });
}

bool setBoolean(avro_value_t& record, const char* name, bool flag) {
  return setField(record, name,
                  [&](avro_value_t* field) { return avro_value_set_boolean(field, flag); });
}

bool setDouble(avro_value_t& record, const char* name, double number) {
  return setField(record, name,
                  [&](avro_value_t* field) { return avro_value_set_double(field, number); });
}

bool setFloat(avro_value_t& record, const char* name, float number) {
  return setField(record, name,
                  [&](avro_value_t* field) { return avro_value_set_float(field, number); });
}

// The union field of a record, switched to one of its branches.
bool branchOf(avro_value_t& record, const char* name, int index, avro_value_t& branch) {
  return setField(record, name, [&](avro_value_t* field) {
    return avro_value_set_branch(field, index, &branch);
  });
}

bool logFailure(const char* what) {
  TallixLog::debug("Unable to create %s datum structure: %s", what, avro::lastError());
  return false;
}

bool fillDeviceTags(avro_value_t& request, const std::string& hwMachine) {
  avro_value_t iosTags;
  if (!branchOf(request, "device_tags", 0, iosTags) || !setString(iosTags, "hw_machine", hwMachine))
    return logFailure("Ios Tags");
  return true;
}

bool appendDeviceId(avro_value_t& ids, std::int32_t type, const std::string& id) {
  avro_value_t element;
  return avro_value_append(&ids, &element, nullptr) == 0 && setInt(element, "type", type) &&
         setBytes(element, "id", id);
}

bool fillDeviceIds(avro_value_t& request, const TallixBeaconRequestFields& fields) {
  avro_value_t ids;
  if (avro_value_get_by_name(&request, "device_ids", &ids, nullptr) != 0)
    return logFailure("beacon Request");
  if (fields.tallixId && !appendDeviceId(ids, kTallixIdType, *fields.tallixId))
    return logFailure("IDFA Device id");
  if (fields.identifierForVendor &&
      !appendDeviceId(ids, kVendorIdType, *fields.identifierForVendor))
    return logFailure("IDFV Device id");
  return true;
}

bool fillScalars(avro_value_t& request, const TallixBeaconRequestFields& fields) {
  avro_value_t null;
  const bool filled = setString(request, "project_key", fields.projectKey) &&
                      setString(request, "bundle_id", fields.bundleId) &&
                      setString(request, "app_version", fields.appVersion) &&
                      setInt(request, "sdk_version", fields.sdkVersion) &&
                      setInt(request, "platform", fields.platform) &&
                      setString(request, "platform_version", fields.platformVersion) &&
                      setBoolean(request, "limit_ad_tracking", fields.limitAdTracking) &&
                      branchOf(request, "geo", 0, null) && avro_value_set_null(&null) == 0;
  return filled || logFailure("beacon Request");
}

bool fillGeolocation(avro_value_t& geolocation, const TallixBeaconRequestFields& fields) {
  const bool filled = setDouble(geolocation, "latitude", fields.latitude) &&
                      setDouble(geolocation, "longitude", fields.longitude) &&
                      setFloat(geolocation, "accuracy", fields.accuracy);
  return filled || logFailure("Geo");
}

// The service reads "geo" as its branch index 0 followed by a whole Geolocation record, an
// index that names the null branch in the schema. No value of the schema encodes that, so the
// request carries its null branch (the index byte 0, last in the record) and the Geolocation
// record is written right behind it with its own schema.
std::optional<Value::Bytes> binaryBody(avro_value_t& request, avro_value_t& geolocation) {
  TallixLog::debug("Sending beacon Request....");
  const auto json = avro::oneLineJson(request);
  if (!json) {
    TallixLog::debug("Unable to get JSON from beacon request, error %s", avro::lastError());
    return std::nullopt;
  }
  TallixLog::debug("Sending beacon Request of size %lu....",
                   static_cast<unsigned long>(json->size()));
  // The JSON is always the longer form: each field's quoted name alone outweighs its length
  // prefix or fixed-size number, and the names, far over a hundred characters, outweigh the
  // 20 bytes of the location. A buffer that still proved short fails the write below.
  Value::Bytes body(json->size());
  const avro::Writer writer = avro::memoryWriter(body);
  if (!writer || avro_value_write(writer.get(), &request) != 0 ||
      avro_value_write(writer.get(), &geolocation) != 0) {
    TallixLog::debug("Unable to validate= %s\n", avro::lastError());
    return std::nullopt;
  }
  body.resize(static_cast<std::size_t>(avro_writer_tell(writer.get())));
  return body;
}

// zlib's CRC-32 is the reflected 0xEDB88320 one with the usual start and final complement.
std::string checksumOf(const Value::Bytes& body) {
  const auto crc = crc32_z(crc32_z(0, nullptr, 0), body.data(), body.size());
  return foundation::stringWithFormat("%d", static_cast<std::int32_t>(crc));
}

}  // namespace

TallixBeaconRequestEncoder::TallixBeaconRequestEncoder() = default;
TallixBeaconRequestEncoder::~TallixBeaconRequestEncoder() = default;

bool TallixBeaconRequestEncoder::parseSchemasOnce() {
  if (schemas_)
    return true;
  auto schemas = std::make_unique<Schemas>();
  if (!avro::parseInOrder({
          {schemas->request, TallixBeaconSchemas::kConfigRequest,
           "Unable to parse beacon request schema"},
          {schemas->iosTags, TallixBeaconSchemas::kIosTags, "Unable to parse ios tags schema"},
          {schemas->geolocation, TallixBeaconSchemas::kGeolocation,
           "Unable to parse geo location schema"},
          {schemas->deviceId, TallixBeaconSchemas::kDeviceId,
           "Unable to parse device id type schema"},
      }))
    return false;
  schemas->requestClass = avro::genericClassOf(schemas->request.get());
  schemas->geolocationClass = avro::genericClassOf(schemas->geolocation.get());
  if (!schemas->requestClass || !schemas->geolocationClass) {
    TallixLog::debug("Unable to parse beacon request schema");
    return false;
  }
  TallixLog::debug("Successfully parsed ad request schema");
  schemas_ = std::move(schemas);
  return true;
}

std::optional<TallixEncodedBeaconRequest> TallixBeaconRequestEncoder::encode(
    const TallixBeaconRequestFields& fields) {
  if (!parseSchemasOnce())
    return std::nullopt;
  auto request = avro::GenericValue::create(schemas_->requestClass.get());
  if (!request) {
    logFailure("beacon Request");
    return std::nullopt;
  }
  auto geolocation = avro::GenericValue::create(schemas_->geolocationClass.get());
  if (!geolocation) {
    logFailure("Geo");
    return std::nullopt;
  }
  if (!fillScalars(*request->get(), fields) || !fillDeviceTags(*request->get(), fields.hwMachine) ||
      !fillDeviceIds(*request->get(), fields) || !fillGeolocation(*geolocation->get(), fields))
    return std::nullopt;
  TallixLog::debug("Successfully created beacon request.");
  auto body = binaryBody(*request->get(), *geolocation->get());
  if (!body)
    return std::nullopt;
  std::string checksum = checksumOf(*body);
  return TallixEncodedBeaconRequest{std::move(*body), std::move(checksum)};
}

}  // namespace tallix
