#include "analytics/config/callbacks/TallixBeaconUrlQueue.h"

#include "analytics/core/settings/TallixPersistentMap.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/DispatchQueue.h"

namespace tallix {

using foundation::Value;

TallixBeaconUrlQueue::TallixBeaconUrlQueue(TallixPersistentMap& prepared,
                                           TallixPersistentMap& pending,
                                           foundation::DispatchQueue& queue)
    : prepared_(prepared), pending_(pending), queue_(queue) {}

void TallixBeaconUrlQueue::prepare(const std::string& sessionKey, const std::string& event,
                                   const std::vector<TallixQueuedUrl>& urls) {
  const auto stored = prepared_.valueForKey(sessionKey);
  Value::Dictionary events;
  if (stored && stored->dictionary())
    events = *stored->dictionary();
  Value::Array entries;
  for (const auto& url : urls)
    entries.push_back(url.toValue());
  events.insert_or_assign(event, std::move(entries));
  prepared_.setValue(sessionKey, std::move(events));
  changed();
}

std::vector<TallixQueuedUrl> TallixBeaconUrlQueue::takePrepared(const std::string& event) {
  std::vector<TallixQueuedUrl> taken;
  for (const auto& [sessionKey, stored] : prepared_.entries()) {
    const Value* entries = stored.find(event);
    if (!entries)
      continue;
    for (const auto& entry : entries->array() ? *entries->array() : Value::Array{}) {
      if (auto url = TallixQueuedUrl::fromValue(entry))
        taken.push_back(std::move(*url));
    }
    Value::Dictionary rest = *stored.dictionary();
    rest.erase(event);
    if (rest.empty())
      prepared_.removeValueForKey(sessionKey);
    else
      prepared_.setValue(sessionKey, std::move(rest));
    changed();
  }
  return taken;
}

void TallixBeaconUrlQueue::storePending(const TallixQueuedUrl& url) {
  pending_.setValue(url.invokeURL, url.toValue());
  changed();
}

void TallixBeaconUrlQueue::removePending(const std::string& invokeURL) {
  pending_.removeValueForKey(invokeURL);
  changed();
}

std::optional<TallixQueuedUrl> TallixBeaconUrlQueue::pending(const std::string& invokeURL) const {
  const auto stored = pending_.valueForKey(invokeURL);
  return stored ? TallixQueuedUrl::fromValue(*stored) : std::nullopt;
}

std::vector<TallixQueuedUrl> TallixBeaconUrlQueue::takeDue(std::int64_t nowSeconds) {
  std::vector<TallixQueuedUrl> due;
  for (const auto& [invokeURL, stored] : pending_.entries()) {
    const auto url = TallixQueuedUrl::fromValue(stored);
    if (!url || url->expiration < 1 || url->expiration <= nowSeconds) {
      pending_.removeValueForKey(invokeURL);
      changed();
    } else if (!url->beingFired) {
      due.push_back(*url);
    }
  }
  return due;
}

void TallixBeaconUrlQueue::changed() {
  if (saveScheduled_)
    return;
  saveScheduled_ = true;
  queue_.asyncAfter(kSaveWindow, [this] { flush(); });
}

void TallixBeaconUrlQueue::flush() {
  if (!saveScheduled_)
    return;
  saveScheduled_ = false;
  for (const TallixPersistentMap* map : {&prepared_, &pending_}) {
    if (!map->save()) {
      const auto path = map->path();
      TallixLog::debug("%s: map not saved to disk at path[%s]", "TallixBeaconEventController",
                       path ? path->c_str() : "(none)");
    }
  }
}

}  // namespace tallix
