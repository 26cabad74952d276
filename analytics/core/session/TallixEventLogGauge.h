#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "tallix/EventRecordResult.h"

namespace tallix {

// Design note. The facade answers logEvent at once with the result the session will come to,
// while the session records the event later on the agent queue. A forecast from the session's
// published sizes alone goes wrong as soon as events are queued: a thousand queued events all
// see room in the log. So the gauge keeps, beside what the session last published, what the
// queued events will take:
//   - slots: the log's events plus the pending ones (each will claim a log slot when merged),
//     plus one reserved slot per queued event forecast as logged;
//   - names: the names the session counts, plus the new names queued events will bring.
// An event with a slot is queued whole; one without is only counted (folded into a per-name
// count by the intake); one whose new name the session must refuse is dropped. A slot is
// released in the same locked step as the put that takes it publishes, so no caller sees it
// twice or not at all. Each session has a ticket: when the next one is set up the gauge starts
// afresh with the most that can be carried into it, until the new session publishes, and what
// older sessions publish no longer counts. Names of events carried over from a paused session
// are not foreseen; they count once the next session has them.
class TallixEventLogGauge {
 public:
  enum class Fate { Logged, Counted, Refused };
  struct Forecast {
    EventRecordResult result;
    Fate fate;
    std::uint64_t ticket;
  };

  // Caller side. Decides the event's fate and reserves what it will take.
  Forecast forecast(const std::string& name);
  // A new session is about to start: it takes the events logged before it (these names) and
  // at most the previous session's pending events. Returns its ticket.
  std::uint64_t expectNewSession(const std::vector<std::string>& preCachedNames);

  // Queue side: what the session's log holds now, and the names it newly counts.
  void publish(std::uint64_t ticket, std::size_t logged, std::size_t pending);
  void nameCounted(std::uint64_t ticket, const std::string& name);
  template <typename Names>
  void resetNames(std::uint64_t ticket, const Names& counted) {
    std::lock_guard lock(mutex_);
    if (ticket != ticket_)
      return;
    names_.clear();
    for (const auto& [name, count] : counted) {
      names_.insert(name);
      newNames_.erase(name);
    }
  }
  // Around recording an event queued with a slot: the slot is released by the put that takes
  // it, or at the end when the session took none.
  void beginPut(const Forecast& forecast);
  void endPut();

 private:
  void releasePendingSlot();

  std::mutex mutex_;
  std::uint64_t ticket_ = 0;
  std::size_t logged_ = 0;
  std::size_t pending_ = 0;
  std::size_t reserved_ = 0;
  std::unordered_set<std::string> names_;
  std::unordered_set<std::string> newNames_;  // foreseen, not yet counted; none in names_
  std::optional<std::uint64_t> slotToRelease_;
};

}  // namespace tallix
