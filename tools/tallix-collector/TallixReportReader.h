#pragma once

#include <cstdint>
#include <span>

#include "tools/tallix-collector/TallixJson.h"

namespace tallix {

// Reads a whole request body as the agent posts it: checks its closing CRC-32, decodes every
// field and insists nothing is left over. Throws TallixReportRejected with the reason.
class TallixReportReader {
 public:
  static constexpr std::size_t kChecksumSize = 4;

  // {"crc32": "0x...", "body": {...}}
  static TallixJson read(std::span<const std::uint8_t> body);

 private:
  static std::uint32_t checkedChecksum(std::span<const std::uint8_t> body);
};

}  // namespace tallix
