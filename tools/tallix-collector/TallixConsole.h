#pragma once

#include <mutex>
#include <ostream>
#include <string>

namespace tallix {

// The collector's output: one whole line at a time, whichever handler thread prints it.
class TallixConsole {
 public:
  explicit TallixConsole(std::ostream& out) : out_(out) {}

  void line(const std::string& text) {
    const std::scoped_lock lock(mutex_);
    out_ << text << std::endl;
  }

 private:
  std::ostream& out_;
  std::mutex mutex_;
};

}  // namespace tallix
