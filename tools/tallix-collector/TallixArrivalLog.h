#pragma once

#include <jansson.h>

#include <mutex>

#include "tools/tallix-collector/TallixJson.h"

namespace tallix {

// Requests as they arrived, each as a JSON object, for a test or a person to list.
class TallixArrivalLog {
 public:
  // Stores the entry with its "number", counted from 1, and returns that number.
  json_int_t add(TallixJson entry);
  // Every entry in arrival order, as one JSON array of copies.
  TallixJson list() const;

 private:
  mutable std::mutex mutex_;
  TallixJson entries_{json_array()};
};

}  // namespace tallix
