#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tallix {

// The hexadecimal spellings a crash report is read in.
class TallixCrashReportHex {
 public:
  // Lower-case, two digits a byte.
  static std::string bytes(std::span<const std::uint8_t> data);
  // 16 bytes as 8-4-4-4-12; any other length as plain bytes.
  static std::string uuid(std::span<const std::uint8_t> data);
  // "0x" and 16 digits, so that addresses line up in columns.
  static std::string address(std::uint64_t value);
  // "0x" and as many digits as needed.
  static std::string offset(std::uint64_t value);
};

}  // namespace tallix
