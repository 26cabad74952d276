#include "control/LineReader.h"

namespace control {

std::optional<std::string> LineReader::next() {
  if (overflowed_)
    return std::nullopt;
  const auto end = pending_.find('\n', scanned_);
  if (end == std::string::npos) {
    scanned_ = pending_.size();
    if (pending_.size() > limit_)
      overflow();
    return std::nullopt;
  }
  if (end > limit_) {
    overflow();
    return std::nullopt;
  }
  std::string line = pending_.substr(0, end);
  pending_.erase(0, end + 1);
  scanned_ = 0;
  if (!line.empty() && line.back() == '\r')
    line.pop_back();
  return line;
}

std::string LineReader::takeRest() {
  std::string rest = overflowed_ ? std::string() : std::move(pending_);
  pending_.clear();
  scanned_ = 0;
  return rest;
}

void LineReader::overflow() {
  overflowed_ = true;
  pending_.clear();
  pending_.shrink_to_fit();
}

}  // namespace control
