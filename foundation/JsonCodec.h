#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/Value.h"

struct json_t;

namespace foundation {

// How archives map values onto JSON. Types JSON lacks are one-key objects tagged with a key
// that starts with "$" ({"$date": seconds}, {"$bytes": base64}); dictionary keys that start
// with "$" are written with a second "$" so they can never be mistaken for a tag.
class JsonCodec {
 public:
  static constexpr std::string_view kClassKey = "$class";

  // A new reference; never null.
  static json_t* encode(const Value& value);
  // Nothing for JSON that no Value encodes to.
  static std::optional<Value> decode(const json_t* json);

  static std::string escapeKey(std::string_view key);
  static std::optional<std::string> unescapeKey(std::string_view stored);
};

}  // namespace foundation
