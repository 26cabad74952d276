#pragma once

#include <cstddef>
#include <filesystem>
#include <limits>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Value.h"

namespace tallix {

// A small keyed map that outlives the process in a file of its own (cookies from the server,
// callback addresses, agent flags). Reads and writes come from the facade and the agent
// queue, so the map has its own lock. A map filled from outside has a capacity: past it, new
// keys are refused (and a file holding more is read only up to it).
class TallixPersistentMap {
 public:
  explicit TallixPersistentMap(std::string name,
                               std::size_t capacity = std::numeric_limits<std::size_t>::max())
      : name_(std::move(name)), capacity_(capacity) {}

  const std::string& name() const { return name_; }
  // Binds the map to its file and reads what is there; a missing or damaged file reads empty.
  void loadFrom(std::filesystem::path path);
  // False when there is no file yet or it cannot be written.
  bool save() const;
  std::optional<std::filesystem::path> path() const;

  std::optional<foundation::Value> valueForKey(std::string_view key) const;
  // False when the key is new and the map is full; nothing changes then.
  bool setValue(std::string_view key, foundation::Value value);
  void removeValueForKey(std::string_view key);
  foundation::Value::Dictionary entries() const;

 private:
  const std::string name_;
  const std::size_t capacity_;
  mutable std::mutex mutex_;
  std::optional<std::filesystem::path> path_;
  foundation::Value::Dictionary entries_;
};

}  // namespace tallix
