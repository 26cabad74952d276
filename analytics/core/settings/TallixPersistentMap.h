#pragma once

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Value.h"

namespace tallix {

// A small keyed map that outlives the process in a file of its own (cookies from the server,
// callback addresses, agent flags). Reads and writes come from the facade and the agent
// queue, so the map has its own lock.
class TallixPersistentMap {
 public:
  explicit TallixPersistentMap(std::string name) : name_(std::move(name)) {}

  const std::string& name() const { return name_; }
  // Binds the map to its file and reads what is there; a missing or damaged file reads empty.
  void loadFrom(std::filesystem::path path);
  // False when there is no file yet or it cannot be written.
  bool save() const;
  std::optional<std::filesystem::path> path() const;

  std::optional<foundation::Value> valueForKey(std::string_view key) const;
  void setValue(std::string_view key, foundation::Value value);
  foundation::Value::Dictionary entries() const;

 private:
  const std::string name_;
  mutable std::mutex mutex_;
  std::optional<std::filesystem::path> path_;
  foundation::Value::Dictionary entries_;
};

}  // namespace tallix
