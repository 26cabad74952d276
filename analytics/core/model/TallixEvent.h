#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "foundation/Archivable.h"
#include "foundation/Date.h"
#include "foundation/Value.h"

namespace tallix {

// One named event of a session's log. Its parameters can be updated from the agent queue and
// from the extension's queue, so they are guarded by the event's own lock.
class TallixEvent : public foundation::Archivable {
 public:
  static constexpr std::string_view kArchiveClassName = "TallixEvent";

  // Parameters go through the same filtering as updateParameters.
  TallixEvent(std::string name, bool timed, const foundation::Value& parameters,
              foundation::Date started, int eventLogId);

  static std::shared_ptr<TallixEvent> initWithCoder(foundation::KeyedUnarchiver& coder);
  std::string_view archiveClassName() const override { return kArchiveClassName; }
  void encodeWithCoder(foundation::KeyedArchiver& coder) const override;

  const std::string& name() const { return name_; }
  bool timed() const { return timed_; }
  foundation::Date started() const { return started_; }
  std::optional<foundation::Date> ended() const;
  bool automaticallyEnded() const;
  // A dictionary, possibly empty.
  foundation::Value parameters() const;
  int eventLogId() const { return eventLogId_; }
  void setEventLogId(int eventLogId) { eventLogId_ = eventLogId; }

  bool isUnterminated() const;
  std::int64_t duration() const;
  std::int64_t startOffsetFromSessionStart(foundation::Date sessionStart) const;

  // Merges string, number and boolean (kept as 1 or 0) values into the parameters, newest
  // winning. A merge that would hold more than the per-event limit is dropped whole.
  void updateParameters(const foundation::Value& update);
  void end(foundation::Date at);
  void endAutomatically(foundation::Date at);

 private:
  TallixEvent(std::string name, bool timed, foundation::Date started, int eventLogId);

  const std::string name_;
  const bool timed_;
  const foundation::Date started_;
  int eventLogId_;
  mutable std::mutex mutex_;
  std::optional<foundation::Date> ended_;
  bool automaticallyEnded_ = false;
  foundation::Value parameters_ = foundation::Value::Dictionary{};
};

}  // namespace tallix
