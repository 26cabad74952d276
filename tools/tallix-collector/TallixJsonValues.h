#pragma once

#include <jansson.h>

#include <cstdint>
#include <span>
#include <string_view>

namespace tallix {

// The JSON forms of the report's values. Each returns a new reference and never null, so a
// decoder can hand them straight to json_object_set_new.
class TallixJsonValues {
 public:
  // {"ms": milliseconds since 1970, "utc": "2023-11-14T22:13:20.000Z"}; "utc" is null for an
  // instant outside the years 0 to 9999.
  static json_t* timestamp(std::int64_t milliseconds);
  static json_t* text(std::string_view bytes);
  // {"size": n, "base64": "..."}
  static json_t* bytes(std::span<const std::uint8_t> data);
  // JSON has no NaN or infinity; those are written as the strings "nan", "inf" and "-inf".
  static json_t* real(double value);
  static json_t* integer(std::int64_t value) { return json_integer(value); }
  static json_t* boolean(bool value) { return json_boolean(value); }

 private:
  static json_t* utcText(std::int64_t milliseconds);
};

}  // namespace tallix
