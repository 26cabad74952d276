#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "analytics/core/model/TallixEvent.h"
#include "foundation/Date.h"
#include "tallix/EventRecordResult.h"

namespace foundation {
class KeyedArchiver;
class KeyedUnarchiver;
}  // namespace foundation

namespace tallix {

// The two sizes of the current session's log that the facade predicts from, readable from any
// thread while the agent queue updates them.
struct TallixEventLogGauge {
  std::atomic<std::size_t> distinctNames{0};
  std::atomic<std::size_t> loggedEvents{0};
};

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

  // The current session's log keeps the gauge up to date; null stops it.
  void publishTo(TallixEventLogGauge* gauge);

  void clear();
  void encodeWithCoder(foundation::KeyedArchiver& coder) const;
  void decodeWithCoder(foundation::KeyedUnarchiver& coder);

 private:
  void publishSizes();

  Counts counts_;
  Events events_;
  Events pending_;
  bool complete_ = true;
  TallixEventLogGauge* gauge_ = nullptr;
};

}  // namespace tallix
