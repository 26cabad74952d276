#pragma once

namespace tallix {

// How many connections a client may have open at once, in all and to one host; 0 for no
// limit. Past them libcurl keeps transfers waiting until a connection is free, so a burst of
// requests never turns into a burst of sockets.
struct TallixConnectionLimits {
  long total = 0;
  long perHost = 0;
};

}  // namespace tallix
