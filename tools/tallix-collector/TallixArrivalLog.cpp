#include "tools/tallix-collector/TallixArrivalLog.h"

namespace tallix {

json_int_t TallixArrivalLog::add(TallixJson entry) {
  const std::scoped_lock lock(mutex_);
  const auto number = static_cast<json_int_t>(json_array_size(entries_.get()) + 1);
  json_object_set_new(entry.get(), "number", json_integer(number));
  json_array_append_new(entries_.get(), entry.release());
  return number;
}

TallixJson TallixArrivalLog::list() const {
  const std::scoped_lock lock(mutex_);
  return TallixJson(json_deep_copy(entries_.get()));
}

}  // namespace tallix
