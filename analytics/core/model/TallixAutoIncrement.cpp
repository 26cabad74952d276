#include "analytics/core/model/TallixAutoIncrement.h"

#include <charconv>
#include <string>

#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace tallix {

using foundation::Value;

int TallixAutoIncrement::nextCountFor(int kind) {
  std::lock_guard lock(mutex_);
  return ++counters_[kind];
}

void TallixAutoIncrement::resetAll() {
  std::lock_guard lock(mutex_);
  counters_.clear();
}

void TallixAutoIncrement::encodeWithCoder(foundation::KeyedArchiver& coder) const {
  std::lock_guard lock(mutex_);
  Value::Dictionary counters;
  for (const auto& [kind, last] : counters_)
    counters.emplace(std::to_string(kind), last);
  coder.encodeValue("autoIncrementCounters", Value(std::move(counters)));
}

std::shared_ptr<TallixAutoIncrement> TallixAutoIncrement::initWithCoder(
    foundation::KeyedUnarchiver& coder) {
  auto counters = std::make_shared<TallixAutoIncrement>();
  const auto archived = coder.decodeValue("autoIncrementCounters");
  if (!archived)
    return counters;
  if (!archived->dictionary()) {
    coder.fail();
    return nullptr;
  }
  for (const auto& [key, last] : *archived->dictionary()) {
    int kind = 0;
    const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), kind);
    if (error != std::errc() || end != key.data() + key.size() || !last.integer()) {
      coder.fail();
      return nullptr;
    }
    counters->counters_[kind] = static_cast<int>(*last.integer());
  }
  return counters;
}

}  // namespace tallix
