#pragma once

#include <jansson.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "tools/tallix-collector/TallixJson.h"

namespace tallix {

// The configuration the collector hands out, kept as the JSON the user wrote and encoded anew
// for every answer, so that an absent "issued_at" can be the time of that answer. Members the
// document leaves out take the schema's defaults.
class TallixConfigAnswer {
 public:
  // Throws std::invalid_argument naming the member at fault when the document cannot become
  // an answer.
  explicit TallixConfigAnswer(const json_t* document);
  static TallixConfigAnswer fromFile(const std::filesystem::path& file);

  // The answer body in Avro binary; issuedAtMs goes into "issued_at" unless the document sets it.
  std::string encode(std::int64_t issuedAtMs) const;
  const json_t* document() const { return document_.get(); }

 private:
  TallixJson document_;
};

}  // namespace tallix
