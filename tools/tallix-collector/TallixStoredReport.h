#pragma once

#include <jansson.h>

#include <cstdint>
#include <span>
#include <string>

#include "tools/tallix-collector/TallixJson.h"

namespace tallix {

// What the collector keeps of one upload: the decoded report, or the reason it was refused
// with the body itself so the fault can be looked at later.
class TallixStoredReport {
 public:
  using Body = std::span<const std::uint8_t>;

  // Both add "status", "receivedAt" and "bodySize" to what is known of the body.
  static TallixJson accepted(TallixJson read, Body body, std::int64_t receivedAtMs);
  static TallixJson rejected(const std::string& reason, Body body, std::int64_t receivedAtMs);

  // One line for the console, once the store has numbered the report.
  static std::string summary(const json_t* stored);

 private:
  static void addReceipt(json_t* stored, const char* status, Body body, std::int64_t receivedAtMs);
};

}  // namespace tallix
