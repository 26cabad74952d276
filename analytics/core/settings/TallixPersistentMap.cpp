#include "analytics/core/settings/TallixPersistentMap.h"

#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace tallix {

using foundation::Value;

void TallixPersistentMap::loadFrom(std::filesystem::path path) {
  const auto archived = foundation::KeyedUnarchiver::unarchiveValueWithFile(path);
  std::lock_guard lock(mutex_);
  path_ = std::move(path);
  entries_.clear();
  if (!archived || !archived->dictionary())
    return;
  for (const auto& entry : *archived->dictionary()) {
    if (entries_.size() >= capacity_)
      break;
    entries_.insert(entry);
  }
}

bool TallixPersistentMap::save() const {
  // Written under the lock, so two saves never land in the wrong order.
  std::lock_guard lock(mutex_);
  return path_ && foundation::KeyedArchiver::archiveRootValue(Value(entries_), *path_);
}

std::optional<std::filesystem::path> TallixPersistentMap::path() const {
  std::lock_guard lock(mutex_);
  return path_;
}

std::optional<Value> TallixPersistentMap::valueForKey(std::string_view key) const {
  std::lock_guard lock(mutex_);
  const auto found = entries_.find(key);
  return found == entries_.end() ? std::nullopt : std::optional<Value>(found->second);
}

bool TallixPersistentMap::setValue(std::string_view key, Value value) {
  std::lock_guard lock(mutex_);
  const auto found = entries_.find(key);
  if (found != entries_.end()) {
    found->second = std::move(value);
    return true;
  }
  if (entries_.size() >= capacity_)
    return false;
  entries_.emplace(std::string(key), std::move(value));
  return true;
}

void TallixPersistentMap::removeValueForKey(std::string_view key) {
  std::lock_guard lock(mutex_);
  if (const auto found = entries_.find(key); found != entries_.end())
    entries_.erase(found);
}

Value::Dictionary TallixPersistentMap::entries() const {
  std::lock_guard lock(mutex_);
  return entries_;
}

}  // namespace tallix
