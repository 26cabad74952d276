#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "analytics/core/support/TallixFilePaths.h"
#include "foundation/Value.h"

namespace foundation {
class NotificationCenter;
}

namespace tallix {

class TallixAgentService;
class TallixAutoIncrement;
class TallixClock;
class TallixGlobalVariableStorage;
class TallixSavedSessions;
class TallixSession;
class TallixSessionMeasurements;
class TallixSessionReporter;
class TallixSessionSaver;
struct TallixSessionContext;

// An extension's session. An extension process lives for a moment, so its session lives in
// files of its own (the session and the counters that number its logs) and runs on across
// processes; it is sent once it holds enough events, or at the first call after it has grown
// too old, and the next call begins a new one. Runs on the extension's queue only.
class TallixWatchSession {
 public:
  // Ten events make a report worth its request, while an extension used a few times a day
  // still reports within the day.
  static constexpr int kEventThreshold = 10;
  // An extension is used in glances: half an hour on, it is a different use, and a few events
  // do not wait on disk longer than that once the extension runs again.
  static constexpr int kDurationThresholdMinutes = 30;

  // What the session runs against; all of it outlives this object.
  struct Parts {
    const TallixClock& clock;
    TallixGlobalVariableStorage& settings;
    TallixFilePaths paths;
    TallixSavedSessions& savedSessions;
    TallixSessionSaver& saver;
    TallixSessionMeasurements& measurements;
    TallixSessionReporter& reporter;
    foundation::NotificationCenter& notificationCenter;
  };

  // Reads the counters a previous process left; the session itself is read at the first call.
  explicit TallixWatchSession(Parts parts);
  ~TallixWatchSession();
  TallixWatchSession(const TallixWatchSession&) = delete;
  TallixWatchSession& operator=(const TallixWatchSession&) = delete;

  void recordWatchEvent(const std::string& eventName, const foundation::Value& parameters);
  // The exception as "name: reason", or nothing when there was none.
  void recordWatchError(const std::string& errorId, const std::string& message,
                        const std::optional<std::string>& exception,
                        std::optional<foundation::Value::Bytes> liveReport);
  void recordWatchError(const std::string& errorId, const std::string& message,
                        const std::error_code& error,
                        std::optional<foundation::Value::Bytes> liveReport);

 private:
  // Records into the current session, then keeps it or, at the threshold, sends it.
  void record(const std::function<void(TallixSession&)>& recording);
  // The session to record into: read back, or begun; an expired one is sent first.
  TallixSession& current();
  std::shared_ptr<TallixSession> readBack();
  std::shared_ptr<TallixSession> begin();
  void applySettings(TallixSession& session) const;
  bool hasExpired(const TallixSession& session) const;
  // Below the threshold both files are written now: the process may end at any moment.
  void archive();
  void send();

  const std::vector<std::shared_ptr<TallixAgentService>> noServices_;
  std::shared_ptr<TallixAutoIncrement> counters_;
  std::shared_ptr<const TallixSessionContext> context_;
  std::shared_ptr<TallixSession> session_;
};

}  // namespace tallix
