#include "tools/tallix-collector/TallixLogRecordDecoder.h"

#include "tools/tallix-collector/TallixCrashReportJson.h"
#include "tools/tallix-collector/TallixDecodedRecord.h"

namespace tallix {

TallixJson TallixLogRecordDecoder::event(TallixByteReader& reader) {
  TallixDecodedRecord event(reader);
  event.readUshort("eventLogId");
  event.readString("name");
  event.readList("parameters", TallixDecodedRecord::keyValue);
  // Both in milliseconds: the offset from the session's start, and 0 for an untimed event.
  event.readLong("startOffset");
  event.readLong("duration");
  return event.release();
}

TallixJson TallixLogRecordDecoder::error(TallixByteReader& reader) {
  TallixDecodedRecord error(reader);
  error.readUshort("errorLogId");
  error.readTimestamp("time");
  error.readString("errorId");
  error.readString("message");
  error.readString("exception");
  const std::uint8_t type = error.readByte("errorType");
  // A byte on the wire, but only 0 and 1 say whether a report follows.
  if (!error.readBoolean("hasReport"))
    return error.release();
  const auto report = error.readLargeData("report");
  // Next to the raw bytes, so that a reader of the JSON sees the crash without a second tool.
  if (type == kCrashErrorType)
    error.set("crashReport", TallixCrashReportJson::decode(report));
  return error.release();
}

}  // namespace tallix
