#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "analytics/core/model/TallixEvent.h"
#include "analytics/core/session/TallixEventLogGauge.h"
#include "foundation/Date.h"
#include "tallix/EventRecordResult.h"

namespace foundation {
class KeyedArchiver;
class KeyedUnarchiver;
}  // namespace foundation

namespace tallix {

// A session's events: how often each name was recorded, the capped log of events, and the
// events recorded while the session was paused. Owned by the agent queue.
class TallixEventLog {
 public:
  using Events = std::vector<std::shared_ptr<TallixEvent>>;
  using Counts = std::map<std::string, std::int64_t, std::less<>>;

  TallixEventLog() = default;
  TallixEventLog(const TallixEventLog&) = delete;
  TallixEventLog& operator=(const TallixEventLog&) = delete;

  // Counts the event and logs it while there is room and logging is on.
  EventRecordResult put(std::shared_ptr<TallixEvent> event, bool loggingEnabled);
  // Events only counted, as those past the log's limit are.
  void count(const std::string& name, std::int64_t times);
  void putPending(std::shared_ptr<TallixEvent> event);
  // On resume: every pending event goes into the log.
  void mergePending(bool loggingEnabled);
  // When the session is archived: only what was recorded before the return started; the rest
  // belongs to the next session.
  void mergeValidPending(std::optional<foundation::Date> resumeTime, bool loggingEnabled);
  Events takePending();

  // The first unterminated timed event of that name, the log before the pending events.
  std::shared_ptr<TallixEvent> firstUnterminated(std::string_view name) const;
  // Ends every unterminated event, and again every event a pause ended, at the given time.
  void endTimedEvents(foundation::Date endTime);

  void markIncomplete() { complete_ = false; }
  bool complete() const { return complete_; }
  const Counts& counts() const { return counts_; }
  const Events& events() const { return events_; }
  const Events& pending() const { return pending_; }
  std::int64_t countedTotal() const;

  // The current session's log keeps the gauge up to date under its ticket; null stops it.
  void publishTo(TallixEventLogGauge* gauge, std::uint64_t ticket);

  void clear();
  void encodeWithCoder(foundation::KeyedArchiver& coder) const;
  void decodeWithCoder(foundation::KeyedUnarchiver& coder);

 private:
  EventRecordResult putUnpublished(std::shared_ptr<TallixEvent> event, bool loggingEnabled);
  // The name's count, made when there is room for another name.
  std::int64_t* countFor(const std::string& name);
  void publishSizes();
  void publishAll();

  Counts counts_;
  Events events_;
  Events pending_;
  bool complete_ = true;
  TallixEventLogGauge* gauge_ = nullptr;
  std::uint64_t ticket_ = 0;
};

}  // namespace tallix
