#include "tools/tallix-collector/TallixSessionRecordDecoder.h"

#include "tools/tallix-collector/TallixJsonValues.h"
#include "tools/tallix-collector/TallixLogRecordDecoder.h"

namespace tallix {

TallixJson TallixSessionRecordDecoder::decode(TallixByteReader& reader) {
  TallixDecodedRecord session(reader);
  readHeader(session);
  readLaunch(session);
  readDevice(session);
  readUser(session);
  readEvents(session);
  readErrors(session);
  readReserved(session, reader);
  return session.release();
}

void TallixSessionRecordDecoder::readHeader(TallixDecodedRecord& session) {
  session.readUshort("recordVersion");
  session.readString("applicationVersion");
  session.readTimestamp("sessionStart");
  // Milliseconds; a length of -1 is a session that never ended.
  session.readLong("sessionLength");
  session.readLong("totalPause");
}

void TallixSessionRecordDecoder::readLaunch(TallixDecodedRecord& session) {
  session.readBoolean("backgroundSessionEnabled");
  session.readByte("applicationState");
  if (session.readBoolean("hasOrigin"))
    session.readString("originName");
  if (session.readBoolean("hasDeepLink"))
    session.readString("deepLinkName");
  session.readList("sessionProperties", TallixDecodedRecord::keyValue);
  session.readList("sessionParameters", TallixDecodedRecord::trackedKeyValue);
}

void TallixSessionRecordDecoder::readDevice(TallixDecodedRecord& session) {
  session.readString("locale");
  session.readString("timeZone");
  session.readByte("networkStatus");
  session.readByte("orientation");
}

void TallixSessionRecordDecoder::readUser(TallixDecodedRecord& session) {
  session.readString("userId");
  session.readBoolean("hasLocation");
  session.readDouble("latitude");
  session.readDouble("longitude");
  session.readFloat("accuracy");
  session.readInt("pageViews");
  session.readByte("deviceStatus");
  session.readByte("reserved");
  session.readSignedByte("gender");
  if (session.readBoolean("hasAge"))
    session.readTimestamp("birthYear");
}

void TallixSessionRecordDecoder::readEvents(TallixDecodedRecord& session) {
  session.readList("eventCounts", [](TallixByteReader& reader) {
    TallixDecodedRecord count(reader);
    count.readString("name");
    count.readInt("count");
    return count.release();
  });
  session.readList("events", TallixLogRecordDecoder::event);
  session.readBoolean("eventLogComplete");
}

void TallixSessionRecordDecoder::readErrors(TallixDecodedRecord& session) {
  session.readInt("totalErrors");
  session.readList("errors", TallixLogRecordDecoder::error);
  moveCrashError(session);
}

// The crash travels as the last error record; it is shown apart so a reader of the report
// need not know that.
void TallixSessionRecordDecoder::moveCrashError(TallixDecodedRecord& session) {
  json_t* errors = session.get("errors");
  const std::size_t count = json_array_size(errors);
  json_t* last = count ? json_array_get(errors, count - 1) : nullptr;
  const bool crashed = last && json_integer_value(json_object_get(last, "errorType")) ==
                                   TallixLogRecordDecoder::kCrashErrorType;
  session.set("crashError", crashed ? json_incref(last) : json_null());
  if (crashed)
    json_array_remove(errors, count - 1);
}

void TallixSessionRecordDecoder::readReserved(TallixDecodedRecord& session,
                                              TallixByteReader& reader) {
  TallixJson reserved(json_array());
  json_array_append_new(reserved.get(), TallixJsonValues::integer(reader.int32("reserved tail")));
  for (int slot = 0; slot < 3; ++slot)
    json_array_append_new(reserved.get(),
                          TallixJsonValues::integer(reader.ushort("reserved tail")));
  session.set("reservedTail", reserved.release());
}

}  // namespace tallix
