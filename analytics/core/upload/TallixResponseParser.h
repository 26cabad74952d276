#pragma once

#include <string>
#include <utility>
#include <vector>

#include "foundation/Value.h"

namespace tallix {

class TallixPersistentMap;

// Reads the analytics server's answer to an upload. The only chunk it knows carries cookies,
// which are kept and sent back with the next body. The answer comes from the network: every
// length is checked, and a short or foreign answer is logged and changes nothing it has not
// read in full.
class TallixResponseParser {
 public:
  using Cookies = std::vector<std::pair<std::string, std::string>>;
  static constexpr int kCookieChunkType = 0x11E;
  // A browser's limit for one cookie; larger ones are dropped rather than kept and sent back
  // with every request.
  static constexpr std::size_t kMaxCookieBytes = 4096;

  // The cookies of a complete cookie chunk; stops at the first entry that runs short.
  static Cookies readCookies(const foundation::Value::Bytes& body);
  // Keeps what readCookies finds in the cookie map, as far as the map and the size limit allow;
  // true when that changed it. Never throws.
  static bool parseResponse(const foundation::Value::Bytes& body, TallixPersistentMap& cookies);
};

}  // namespace tallix
