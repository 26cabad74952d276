#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace control {

// Cuts a byte stream into lines at "\n", dropping one "\r" before it. A line that grows past
// `limit` bytes without ending makes the reader overflow for good: nothing more comes out, so a
// peer cannot make it hold more than the limit.
class LineReader {
 public:
  explicit LineReader(std::size_t limit) : limit_(limit) {}

  void append(std::string_view bytes) { pending_.append(bytes); }
  // The next complete line, if one has arrived.
  std::optional<std::string> next();
  bool overflowed() const { return overflowed_; }
  // What came after the last complete line, once the stream has ended.
  std::string takeRest();

 private:
  void overflow();

  std::size_t limit_;
  std::string pending_;
  std::size_t scanned_ = 0;  // bytes of pending_ known to hold no "\n"
  bool overflowed_ = false;
};

}  // namespace control
