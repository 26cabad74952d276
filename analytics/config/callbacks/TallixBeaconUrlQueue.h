#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "analytics/config/callbacks/TallixQueuedUrl.h"

namespace foundation {
class DispatchQueue;
}

namespace tallix {

class TallixPersistentMap;

// The callbacks between their event and their delivery: prepared per session and event until
// the event fires them, then pending per URL until the partner has them or they expire. Both
// live in the agent's persistent maps, written within a few milliseconds of every change
// (changes of one burst share a write), so a kill loses nothing stored before that. Used on
// the controller's queue only.
class TallixBeaconUrlQueue {
 public:
  static constexpr std::chrono::milliseconds kSaveWindow{10};

  TallixBeaconUrlQueue(TallixPersistentMap& prepared, TallixPersistentMap& pending,
                       foundation::DispatchQueue& queue);

  // Replaces whatever the session had prepared for the event.
  void prepare(const std::string& sessionKey, const std::string& event,
               const std::vector<TallixQueuedUrl>& urls);
  // Takes every URL prepared for the event, session by session in key order.
  std::vector<TallixQueuedUrl> takePrepared(const std::string& event);

  void storePending(const TallixQueuedUrl& url);
  void removePending(const std::string& invokeURL);
  std::optional<TallixQueuedUrl> pending(const std::string& invokeURL) const;
  // Drops the pending URLs that have expired, or were never sent, and returns those waiting
  // to be sent again; URLs in flight stay as they are.
  std::vector<TallixQueuedUrl> takeDue(std::int64_t nowSeconds);

  // Writes a change still waiting for its window.
  void flush();

 private:
  void changed();

  TallixPersistentMap& prepared_;
  TallixPersistentMap& pending_;
  foundation::DispatchQueue& queue_;
  bool saveScheduled_ = false;
};

}  // namespace tallix
