#pragma once

#include <optional>
#include <string>

namespace httplib {
struct Request;
}

namespace tallix {

// Checks the header fields of a configuration request against what the agent sends, down to
// the blank that "accept" has and "content-type" has not, and the body against "fm-checksum".
class TallixConfigRequestCheck {
 public:
  static constexpr const char* kContentType = "application/vnd.tallix.sdk-avrobin;version=1";
  static constexpr const char* kAccept = "application/vnd.tallix.sdk-avrobin; version=1";

  // The first fault found, or nothing.
  static std::optional<std::string> fault(const httplib::Request& request);
  // The body's CRC-32 as the agent writes it: a signed 32-bit decimal.
  static std::string checksum(const std::string& body);

 private:
  static std::optional<std::string> headerFault(const httplib::Request& request, const char* name,
                                                const std::string& expected);
};

}  // namespace tallix
