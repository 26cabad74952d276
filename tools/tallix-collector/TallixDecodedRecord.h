#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "tools/tallix-collector/TallixByteReader.h"
#include "tools/tallix-collector/TallixJson.h"

namespace tallix {

// A JSON object filled field by field from the reader, in the order the writer wrote them.
// Each read stores the value under the field's name and returns it for the decoder's own
// decisions (counts, presence flags).
class TallixDecodedRecord {
 public:
  using Element = std::function<TallixJson(TallixByteReader&)>;

  explicit TallixDecodedRecord(TallixByteReader& reader);

  std::uint8_t readByte(const char* key);
  void readSignedByte(const char* key);
  bool readBoolean(const char* key);
  std::uint16_t readUshort(const char* key);
  std::int32_t readInt(const char* key);
  void readLong(const char* key);
  void readFloat(const char* key);
  void readDouble(const char* key);
  void readTimestamp(const char* key);
  void readString(const char* key);
  void readShortData(const char* key);
  TallixByteReader::Bytes readLargeData(const char* key);
  // A 16-bit count, then that many elements, stored as an array.
  json_t* readList(const char* key, const Element& element);

  // Takes ownership of the value.
  void set(const char* key, json_t* value);
  json_t* get(const char* key) const;
  TallixJson release() { return std::move(object_); }

  // The report's dictionaries: key and value strings, and in tracked ones a changed flag.
  static TallixJson keyValue(TallixByteReader& reader);
  static TallixJson trackedKeyValue(TallixByteReader& reader);

 private:
  TallixByteReader& reader_;
  TallixJson object_;
};

}  // namespace tallix
