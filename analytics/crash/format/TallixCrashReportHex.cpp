#include "analytics/crash/format/TallixCrashReportHex.h"

#include <cinttypes>
#include <cstdio>

namespace tallix {

std::string TallixCrashReportHex::bytes(std::span<const std::uint8_t> data) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(data.size() * 2);
  for (const std::uint8_t byte : data) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xf];
  }
  return text;
}

std::string TallixCrashReportHex::uuid(std::span<const std::uint8_t> data) {
  std::string text = bytes(data);
  if (data.size() != 16)
    return text;
  for (const std::size_t dash : {20, 16, 12, 8})
    text.insert(dash, 1, '-');
  return text;
}

std::string TallixCrashReportHex::address(std::uint64_t value) {
  char text[19];
  std::snprintf(text, sizeof text, "0x%016" PRIx64, value);
  return text;
}

std::string TallixCrashReportHex::offset(std::uint64_t value) {
  char text[19];
  std::snprintf(text, sizeof text, "0x%" PRIx64, value);
  return text;
}

}  // namespace tallix
