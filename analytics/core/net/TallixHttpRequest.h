#pragma once

#include <chrono>
#include <map>
#include <string>

#include "foundation/Value.h"

namespace tallix {

// Everything a transfer needs to put one request on the wire. Fixed once its task exists.
struct TallixHttpRequest {
  using HeaderFields = std::map<std::string, std::string>;
  static constexpr std::chrono::milliseconds kDefaultTimeout = std::chrono::seconds(20);

  std::string method;
  std::string url;
  foundation::Value::Bytes body;
  HeaderFields headerFields;
  std::chrono::milliseconds timeoutInterval = kDefaultTimeout;
};

}  // namespace tallix
