#pragma once

#include "tools/tallix-collector/TallixByteReader.h"
#include "tools/tallix-collector/TallixDecodedRecord.h"
#include "tools/tallix-collector/TallixJson.h"

namespace tallix {

// One session record, from its version to its reserved tail. Records in a body have no
// length of their own, so this reads exactly the fields the record holds and no more.
class TallixSessionRecordDecoder {
 public:
  static TallixJson decode(TallixByteReader& reader);

 private:
  static void readHeader(TallixDecodedRecord& session);
  static void readLaunch(TallixDecodedRecord& session);
  static void readDevice(TallixDecodedRecord& session);
  static void readUser(TallixDecodedRecord& session);
  static void readEvents(TallixDecodedRecord& session);
  static void readErrors(TallixDecodedRecord& session);
  static void moveCrashError(TallixDecodedRecord& session);
  static void readReserved(TallixDecodedRecord& session, TallixByteReader& reader);
};

}  // namespace tallix
