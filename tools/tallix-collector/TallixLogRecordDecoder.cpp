#include "tools/tallix-collector/TallixLogRecordDecoder.h"

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
  error.readByte("errorType");
  // A byte on the wire, but only 0 and 1 say whether a report follows.
  if (error.readBoolean("hasReport"))
    error.readLargeData("report");
  return error.release();
}

}  // namespace tallix
