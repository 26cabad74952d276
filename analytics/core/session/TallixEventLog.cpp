#include "analytics/core/session/TallixEventLog.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "analytics/core/model/TallixLimits.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace tallix {

using foundation::Date;
using foundation::Value;

EventRecordResult TallixEventLog::put(std::shared_ptr<TallixEvent> event, bool loggingEnabled) {
  const EventRecordResult result = putUnpublished(std::move(event), loggingEnabled);
  publishSizes();
  return result;
}

EventRecordResult TallixEventLog::putUnpublished(std::shared_ptr<TallixEvent> event,
                                                 bool loggingEnabled) {
  const std::string& name = event->name();
  std::int64_t* counted = countFor(name);
  if (!counted)
    return EventRecordResult::LogFullOrDisabled;
  const std::int64_t count = ++*counted;
  TallixLog::debug("TallixSession: Event count for eventName[%s] updated to count[%d]",
                   name.c_str(), static_cast<int>(count));
  if (events_.size() < kMaxLoggedEvents && loggingEnabled) {
    if (TallixLog::debugEnabled()) {
      TallixLog::debug("TallixSession: Recording event eventName[%s] with parameters[%s] complete",
                       name.c_str(), event->parameters().description().c_str());
    }
    events_.push_back(std::move(event));
    return EventRecordResult::Recorded;
  }
  complete_ = false;  // counted on purpose: counts go on past the log's limit
  return EventRecordResult::LogFullOrDisabled;
}

void TallixEventLog::count(const std::string& name, std::int64_t times) {
  complete_ = false;
  std::int64_t* counted = countFor(name);
  if (!counted)
    return;
  *counted += times;
  TallixLog::debug("TallixSession: Event count for eventName[%s] updated to count[%d]",
                   name.c_str(), static_cast<int>(*counted));
}

std::int64_t* TallixEventLog::countFor(const std::string& name) {
  auto counted = counts_.find(name);
  if (counted != counts_.end())
    return &counted->second;
  if (counts_.size() >= kMaxDistinctEventNames) {
    complete_ = false;
    return nullptr;
  }
  if (gauge_)
    gauge_->nameCounted(ticket_, name);
  return &counts_.emplace(name, 0).first->second;
}

void TallixEventLog::putPending(std::shared_ptr<TallixEvent> event) {
  pending_.push_back(std::move(event));
  publishSizes();
}

// Merges publish once, at the end: a pending event moved into the log keeps its slot
// throughout, as far as callers can see.
void TallixEventLog::mergePending(bool loggingEnabled) {
  for (auto& event : std::exchange(pending_, {}))
    putUnpublished(std::move(event), loggingEnabled);
  publishSizes();
}

void TallixEventLog::mergeValidPending(std::optional<Date> resumeTime, bool loggingEnabled) {
  if (!resumeTime)
    return;
  const auto valid = std::stable_partition(
      pending_.begin(), pending_.end(), [&](const auto& e) { return e->started() < *resumeTime; });
  Events merged(std::make_move_iterator(pending_.begin()), std::make_move_iterator(valid));
  pending_.erase(pending_.begin(), valid);
  for (auto& event : merged)
    putUnpublished(std::move(event), loggingEnabled);
  publishSizes();
}

TallixEventLog::Events TallixEventLog::takePending() {
  Events taken = std::exchange(pending_, {});
  publishSizes();
  return taken;
}

std::shared_ptr<TallixEvent> TallixEventLog::firstUnterminated(std::string_view name) const {
  for (const Events* events : {&events_, &pending_}) {
    for (const auto& event : *events) {
      if (event->isUnterminated() && event->name() == name)
        return event;
    }
  }
  return nullptr;
}

void TallixEventLog::endTimedEvents(Date endTime) {
  TallixLog::debug("TallixSession: ending all unterminated timed events with _endTime[%s]...",
                   endTime.description().c_str());
  for (const Events* events : {&events_, &pending_}) {
    for (const auto& event : *events) {
      if (event->isUnterminated() || event->automaticallyEnded()) {
        event->endAutomatically(endTime);
        TallixLog::debug("TallixSession: forcefully terminated event named[%s]",
                         event->name().c_str());
      }
    }
  }
  TallixLog::debug("TallixSession: ...finished ending un-ended timed events.");
}

std::int64_t TallixEventLog::countedTotal() const {
  return std::accumulate(counts_.begin(), counts_.end(), std::int64_t{0},
                         [](std::int64_t sum, const auto& entry) { return sum + entry.second; });
}

void TallixEventLog::clear() {
  counts_.clear();
  events_.clear();
  pending_.clear();
  complete_ = true;
  publishAll();
}

void TallixEventLog::publishTo(TallixEventLogGauge* gauge, std::uint64_t ticket) {
  gauge_ = gauge;
  ticket_ = ticket;
  publishAll();
}

void TallixEventLog::publishAll() {
  if (gauge_)
    gauge_->resetNames(ticket_, counts_);
  publishSizes();
}

void TallixEventLog::publishSizes() {
  if (gauge_)
    gauge_->publish(ticket_, events_.size(), pending_.size());
}

void TallixEventLog::encodeWithCoder(foundation::KeyedArchiver& coder) const {
  Value::Dictionary counts;
  for (const auto& [name, count] : counts_)
    counts.emplace(name, count);
  coder.encodeValue("eventCounts", Value(std::move(counts)));
  coder.encodeObjects("pendingEventLog", pending_);
  coder.encodeObjects("eventLog", events_);
  coder.encodeBool("eventLogComplete", complete_);
}

void TallixEventLog::decodeWithCoder(foundation::KeyedUnarchiver& coder) {
  clear();
  if (const auto counts = coder.decodeValue("eventCounts")) {
    if (!counts->dictionary())
      return coder.fail();
    for (const auto& [name, count] : *counts->dictionary()) {
      if (!count.integer())
        return coder.fail();
      counts_.emplace(name, *count.integer());
    }
  }
  pending_ = coder.decodeObjects<TallixEvent>("pendingEventLog").value_or(Events{});
  events_ = coder.decodeObjects<TallixEvent>("eventLog").value_or(Events{});
  complete_ = coder.decodeBool("eventLogComplete").value_or(true);
  publishAll();
}

}  // namespace tallix
