#pragma once

#include <jansson.h>

#include <memory>

namespace tallix {

struct TallixJsonRelease {
  void operator()(json_t* json) const { json_decref(json); }
};

// One owned reference to a jansson value.
using TallixJson = std::unique_ptr<json_t, TallixJsonRelease>;

}  // namespace tallix
