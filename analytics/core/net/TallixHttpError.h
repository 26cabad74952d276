#pragma once

#include <string>

namespace tallix {

// Why a request failed: either the server answered with a status outside 200 to 299, or
// libcurl could not complete the exchange (the code is then libcurl's CURLcode).
struct TallixHttpError {
  static constexpr const char* kLoadFailedDomain = "Failed to load url";
  static constexpr long kLoadFailedCode = 4;
  static constexpr const char* kConnectionDomain = "libcurl";

  std::string domain;
  long code = 0;
  std::string message;
};

}  // namespace tallix
