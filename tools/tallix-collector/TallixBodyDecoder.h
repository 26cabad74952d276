#pragma once

#include "tools/tallix-collector/TallixByteReader.h"
#include "tools/tallix-collector/TallixDecodedRecord.h"
#include "tools/tallix-collector/TallixJson.h"

namespace tallix {

// The request body up to its checksum: header, device and application, identifiers, launch
// options, origins, the session records and the server's cookies.
class TallixBodyDecoder {
 public:
  static TallixJson decode(TallixByteReader& reader);

 private:
  static void readHeader(TallixDecodedRecord& body, TallixByteReader& reader);
  static void readDeviceIds(TallixDecodedRecord& body, TallixByteReader& reader);
  static void readAgentState(TallixDecodedRecord& body);
  static void readLaunch(TallixDecodedRecord& body);
  static void readSessionsAndCookies(TallixDecodedRecord& body);
};

}  // namespace tallix
