#include "analytics/core/session/TallixEventLogGauge.h"

#include "analytics/core/model/TallixLimits.h"

namespace tallix {

TallixEventLogGauge::Forecast TallixEventLogGauge::forecast(const std::string& name) {
  std::lock_guard lock(mutex_);
  const bool known = names_.contains(name) || newNames_.contains(name);
  const bool nameLimitReached = names_.size() + newNames_.size() >= kMaxDistinctEventNames;
  if (nameLimitReached && !known)
    return {EventRecordResult::NameLimitReached, Fate::Refused, ticket_};
  if (!known)
    newNames_.insert(name);
  const bool hasSlot = logged_ + pending_ + reserved_ < kMaxLoggedEvents;
  if (hasSlot)
    ++reserved_;
  const EventRecordResult result = nameLimitReached ? EventRecordResult::NameLimitReached
                                   : hasSlot        ? EventRecordResult::Recorded
                                                    : EventRecordResult::LogFullOrDisabled;
  return {result, hasSlot ? Fate::Logged : Fate::Counted, ticket_};
}

std::uint64_t TallixEventLogGauge::expectNewSession(
    const std::vector<std::string>& preCachedNames) {
  std::lock_guard lock(mutex_);
  ++ticket_;
  // The most the previous session can hand over: its pending events, and those still queued
  // for it, which may arrive while it is paused.
  pending_ += reserved_ + preCachedNames.size();
  logged_ = 0;
  reserved_ = 0;
  names_.clear();
  newNames_ = {preCachedNames.begin(), preCachedNames.end()};
  slotToRelease_.reset();
  return ticket_;
}

void TallixEventLogGauge::publish(std::uint64_t ticket, std::size_t logged, std::size_t pending) {
  std::lock_guard lock(mutex_);
  if (ticket != ticket_)
    return;
  logged_ = logged;
  pending_ = pending;
  releasePendingSlot();
}

void TallixEventLogGauge::nameCounted(std::uint64_t ticket, const std::string& name) {
  std::lock_guard lock(mutex_);
  if (ticket != ticket_)
    return;
  names_.insert(name);
  newNames_.erase(name);
}

void TallixEventLogGauge::beginPut(const Forecast& forecast) {
  std::lock_guard lock(mutex_);
  if (forecast.fate == Fate::Logged)
    slotToRelease_ = forecast.ticket;
}

void TallixEventLogGauge::endPut() {
  std::lock_guard lock(mutex_);
  releasePendingSlot();
}

void TallixEventLogGauge::releasePendingSlot() {
  if (slotToRelease_ == ticket_ && reserved_ > 0)
    --reserved_;
  slotToRelease_.reset();
}

}  // namespace tallix
