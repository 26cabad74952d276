#include "tools/tallix-collector/TallixBodyDecoder.h"

#include <string>

#include "tools/tallix-collector/TallixJsonValues.h"
#include "tools/tallix-collector/TallixReportRejected.h"
#include "tools/tallix-collector/TallixSessionRecordDecoder.h"

namespace tallix {

namespace {

// The tags of the device identifiers; each says how its value is written.
constexpr std::uint16_t kTallixId = 7;
constexpr std::uint16_t kIdentifierForVendor = 6;
constexpr std::uint16_t kHardwareId = 4;
constexpr int kFixedHeaderValues = 5;

TallixJson launchOption(TallixByteReader& reader) {
  TallixDecodedRecord option(reader);
  option.readString("key");
  option.readList("values", [](TallixByteReader& values) {
    return TallixJson(TallixJsonValues::text(values.string("value")));
  });
  return option.release();
}

TallixJson origin(TallixByteReader& reader) {
  TallixDecodedRecord origin(reader);
  origin.readString("originName");
  origin.readList("entries", TallixDecodedRecord::keyValue);
  return origin.release();
}

// Cookies are short data on the wire but text to the server that set them.
TallixJson cookie(TallixByteReader& reader) {
  TallixJson cookie(json_object());
  const auto text = [&reader](const char* field) {
    const TallixByteReader::Bytes bytes = reader.shortData(field);
    return TallixJsonValues::text({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  };
  json_object_set_new(cookie.get(), "key", text("cookie key"));
  json_object_set_new(cookie.get(), "value", text("cookie value"));
  return cookie;
}

}  // namespace

TallixJson TallixBodyDecoder::decode(TallixByteReader& reader) {
  TallixDecodedRecord body(reader);
  readHeader(body, reader);
  readDeviceIds(body, reader);
  readAgentState(body);
  readLaunch(body);
  readSessionsAndCookies(body);
  return body.release();
}

void TallixBodyDecoder::readHeader(TallixDecodedRecord& body, TallixByteReader& reader) {
  // Four ushorts around a long, always 31, 4, 1, 0, 0 from our writer; shown as read.
  // Owned until set, so a short header does not leak what was read of it.
  TallixJson fixed(json_array());
  for (int index = 0; index < kFixedHeaderValues; ++index) {
    const bool isLong = index == 3;
    json_array_append_new(fixed.get(),
                          TallixJsonValues::integer(isLong ? reader.int64("fixed header")
                                                           : reader.ushort("fixed header")));
  }
  body.set("fixedHeader", fixed.release());
  body.readUshort("deviceKind");
  body.readUshort("agentVersion");
  body.readTimestamp("writtenAt");
  body.readString("apiKey");
  body.readString("applicationVersion");
  // 1, or 2 when the agent runs in an extension.
  body.readByte("agentKind");
}

void TallixBodyDecoder::readDeviceIds(TallixDecodedRecord& body, TallixByteReader& reader) {
  const std::uint16_t count = reader.ushort("device id count");
  TallixDecodedRecord ids(reader);
  for (std::uint16_t index = 0; index < count; ++index) {
    const std::size_t at = reader.offset();
    const std::uint16_t tag = reader.ushort("device id tag");
    if (tag == kTallixId) {
      ids.readString("tallixId");
    } else if (tag == kIdentifierForVendor) {
      ids.readString("identifierForVendor");
    } else if (tag == kHardwareId) {
      ids.readShortData("hardwareId");
    } else {
      // Without knowing the tag there is no knowing how long its value is.
      throw TallixReportRejected("device id tag at offset " + std::to_string(at) + " is " +
                                 std::to_string(tag) + ", not 4, 6 or 7");
    }
  }
  body.set("deviceIds", ids.release().release());
}

void TallixBodyDecoder::readAgentState(TallixDecodedRecord& body) {
  body.readByte("reservedByte");
  body.readBoolean("sentReportSuccessful");
  body.readBoolean("adTrackingEnabled");
  body.readTimestamp("initialTimestamp");
  body.readTimestamp("currentSessionStart");
  body.readList("deviceProperties", TallixDecodedRecord::trackedKeyValue);
  body.readUshort("reservedShort");
  body.readBoolean("reservedFlag");
}

void TallixBodyDecoder::readLaunch(TallixDecodedRecord& body) {
  body.readList("launchOptions", launchOption);
  body.readList("origins", origin);
  body.readString("bundleIdentifier");
}

void TallixBodyDecoder::readSessionsAndCookies(TallixDecodedRecord& body) {
  body.readList("sessions", TallixSessionRecordDecoder::decode);
  body.readList("cookies", cookie);
}

}  // namespace tallix
