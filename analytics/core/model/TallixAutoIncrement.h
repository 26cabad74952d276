#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "foundation/Archivable.h"

namespace tallix {

// Per-session counters that number the entries of the logs, one sequence per kind. Ids are
// also taken from the extension's queue, hence the lock.
class TallixAutoIncrement : public foundation::Archivable {
 public:
  static constexpr std::string_view kArchiveClassName = "TallixAutoIncrement";
  enum Kind { ErrorLogId = 1, EventLogId = 2 };

  // 1 for a kind never counted, else one more than the last.
  int nextCountFor(int kind);
  void resetAll();

  static std::shared_ptr<TallixAutoIncrement> initWithCoder(foundation::KeyedUnarchiver& coder);
  std::string_view archiveClassName() const override { return kArchiveClassName; }
  void encodeWithCoder(foundation::KeyedArchiver& coder) const override;

 private:
  mutable std::mutex mutex_;
  std::map<int, int> counters_;
};

}  // namespace tallix
