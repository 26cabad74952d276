#pragma once

#include <jansson.h>

#include <string>

namespace tallix {

// JSON as the collector sends it over HTTP.
class TallixJsonText {
 public:
  static constexpr const char* kContentType = "application/json";

  // Indented, with a closing newline for terminals.
  static std::string dumped(const json_t* json);
  // {"error": reason}
  static std::string error(const std::string& reason);
};

}  // namespace tallix
