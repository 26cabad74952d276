#include "tools/tallix-collector/TallixJsonValues.h"

#include <cmath>
#include <cstdio>
#include <ctime>

#include "foundation/Base64.h"
#include "foundation/Utf8Text.h"

namespace tallix {

json_t* TallixJsonValues::timestamp(std::int64_t milliseconds) {
  json_t* object = json_object();
  json_object_set_new(object, "ms", json_integer(milliseconds));
  json_object_set_new(object, "utc", utcText(milliseconds));
  return object;
}

json_t* TallixJsonValues::text(std::string_view bytes) {
  const std::string valid = foundation::Utf8Text::wellFormed(bytes);
  return json_stringn(valid.data(), valid.size());
}

json_t* TallixJsonValues::bytes(std::span<const std::uint8_t> data) {
  json_t* object = json_object();
  json_object_set_new(object, "size", json_integer(static_cast<json_int_t>(data.size())));
  json_object_set_new(object, "base64", json_string(foundation::Base64::encode(data).c_str()));
  return object;
}

json_t* TallixJsonValues::real(double value) {
  if (std::isnan(value))
    return json_string("nan");
  if (std::isinf(value))
    return json_string(value > 0 ? "inf" : "-inf");
  return json_real(value);
}

json_t* TallixJsonValues::utcText(std::int64_t milliseconds) {
  // Years 0 to 9999 in milliseconds; anything outside is no real session and would not fit
  // the four-digit year of ISO 8601 anyway.
  constexpr std::int64_t kEarliest = -62167219200000;
  constexpr std::int64_t kLatest = 253402300799999;
  if (milliseconds < kEarliest || milliseconds > kLatest)
    return json_null();
  // Floor division, so instants before 1970 keep a non-negative millisecond part.
  std::int64_t seconds = milliseconds / 1000;
  std::int64_t millis = milliseconds % 1000;
  if (millis < 0) {
    millis += 1000;
    --seconds;
  }
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  if (!gmtime_r(&time, &parts))
    return json_null();
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", parts.tm_year + 1900,
                parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                static_cast<int>(millis));
  return json_string(text);
}

}  // namespace tallix
