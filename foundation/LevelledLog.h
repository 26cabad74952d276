#pragma once

#include <atomic>
#include <string_view>

namespace foundation {

// A log whose lines each need a level: a line of level n is printed while the log's level is
// n or more, so level 0 prints nothing. Lines go to the console.
class LevelledLog {
 public:
  explicit LevelledLog(int level = 0) : level_(level) {}

  int level() const { return level_.load(std::memory_order_relaxed); }
  void setLevel(int level) { level_.store(level, std::memory_order_relaxed); }
  bool allows(int lineLevel) const { return lineLevel > 0 && level() >= lineLevel; }

  void log(int lineLevel, std::string_view text) const;
  // Formats only when the line will be printed.
  void logFormat(int lineLevel, const char* format, ...) const
      __attribute__((format(printf, 3, 4)));

 private:
  std::atomic<int> level_;
};

}  // namespace foundation
