#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace tallix {

// Raised when bytes received from outside end before the value being read. Callers of the
// readers catch it and drop the answer; it never reaches the application.
class TallixMalformedData : public std::runtime_error {
 public:
  static constexpr std::string_view kName = "Malformed data";

  explicit TallixMalformedData(std::string reason);

  std::string_view name() const { return kName; }
  const std::string& reason() const { return reason_; }

 private:
  std::string reason_;
};

}  // namespace tallix
