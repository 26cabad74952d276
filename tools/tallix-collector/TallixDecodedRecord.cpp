#include "tools/tallix-collector/TallixDecodedRecord.h"

#include <string>

#include "tools/tallix-collector/TallixJsonValues.h"

namespace tallix {

using Json = TallixJsonValues;

TallixDecodedRecord::TallixDecodedRecord(TallixByteReader& reader)
    : reader_(reader), object_(json_object()) {}

std::uint8_t TallixDecodedRecord::readByte(const char* key) {
  const std::uint8_t value = reader_.byte(key);
  set(key, Json::integer(value));
  return value;
}

void TallixDecodedRecord::readSignedByte(const char* key) {
  set(key, Json::integer(static_cast<std::int8_t>(reader_.byte(key))));
}

bool TallixDecodedRecord::readBoolean(const char* key) {
  const bool value = reader_.boolean(key);
  set(key, Json::boolean(value));
  return value;
}

std::uint16_t TallixDecodedRecord::readUshort(const char* key) {
  const std::uint16_t value = reader_.ushort(key);
  set(key, Json::integer(value));
  return value;
}

std::int32_t TallixDecodedRecord::readInt(const char* key) {
  const std::int32_t value = reader_.int32(key);
  set(key, Json::integer(value));
  return value;
}

void TallixDecodedRecord::readLong(const char* key) {
  set(key, Json::integer(reader_.int64(key)));
}

void TallixDecodedRecord::readFloat(const char* key) {
  set(key, Json::real(reader_.float32(key)));
}

void TallixDecodedRecord::readDouble(const char* key) {
  set(key, Json::real(reader_.float64(key)));
}

void TallixDecodedRecord::readTimestamp(const char* key) {
  set(key, Json::timestamp(reader_.int64(key)));
}

void TallixDecodedRecord::readString(const char* key) {
  set(key, Json::text(reader_.string(key)));
}

void TallixDecodedRecord::readShortData(const char* key) {
  set(key, Json::bytes(reader_.shortData(key)));
}

TallixByteReader::Bytes TallixDecodedRecord::readLargeData(const char* key) {
  const TallixByteReader::Bytes data = reader_.largeData(key);
  set(key, Json::bytes(data));
  return data;
}

json_t* TallixDecodedRecord::readList(const char* key, const Element& element) {
  const std::uint16_t count = reader_.ushort(std::string(key) + " count");
  json_t* list = json_array();
  set(key, list);
  for (std::uint16_t index = 0; index < count; ++index)
    json_array_append_new(list, element(reader_).release());
  return list;
}

void TallixDecodedRecord::set(const char* key, json_t* value) {
  json_object_set_new(object_.get(), key, value);
}

json_t* TallixDecodedRecord::get(const char* key) const {
  return json_object_get(object_.get(), key);
}

TallixJson TallixDecodedRecord::keyValue(TallixByteReader& reader) {
  TallixDecodedRecord pair(reader);
  pair.readString("key");
  pair.readString("value");
  return pair.release();
}

TallixJson TallixDecodedRecord::trackedKeyValue(TallixByteReader& reader) {
  TallixJson pair = keyValue(reader);
  json_object_set_new(pair.get(), "changed", Json::boolean(reader.boolean("changed")));
  return pair;
}

}  // namespace tallix
