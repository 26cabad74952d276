#pragma once

#include <stdexcept>
#include <string>

namespace tallix {

// Why a received body cannot be read: a checksum that does not match, a value that runs past
// the end, or a value no writer of ours produces. The collector answers it with status 400.
class TallixReportRejected : public std::runtime_error {
 public:
  explicit TallixReportRejected(const std::string& reason) : std::runtime_error(reason) {}
};

}  // namespace tallix
