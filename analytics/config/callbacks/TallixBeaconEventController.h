#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "analytics/core/net/TallixConnectionLimits.h"
#include "analytics/core/net/TallixHttpTaskDelegate.h"
#include "analytics/core/ports/TallixAgentService.h"
#include "foundation/CallbackGate.h"
#include "foundation/DispatchQueue.h"
#include "foundation/Value.h"

namespace foundation {
class Timer;
}

namespace tallix {

class TallixBeaconRequest;
class TallixBeaconUrlQueue;
class TallixHttpClient;
struct TallixQueuedUrl;

// Partner callbacks and the configuration that lists them.
//
// A callback URL goes: prepared (per session and event, when the session pauses) -> fired
// (pending, request in flight) -> delivered (gone) or failed (pending, retried after three
// repeat durations while the network is reachable, and whenever the application becomes active
// or the network comes back) -> expired three days after its latest send. The configuration is
// fetched again at session starts and when the network comes back unless the stored one is
// fresh and lists templates.
//
// Every entry point hops onto the controller's serial queue, which owns the URL maps, the
// timers and the configuration exchange; the HTTP answers come back onto it too. So nothing
// here takes a lock or touches the disk on a caller's thread.
class TallixBeaconEventController
    : public TallixAgentService,
      public TallixHttpTaskDelegate,
      public std::enable_shared_from_this<TallixBeaconEventController> {
 public:
  // A stored repeat duration of 30 waits 3 x 30 of these before the retry.
  struct Timing {
    std::chrono::milliseconds repeatUnit{1000};
  };
  // Enough to deliver a backlog quickly, few enough to stay a polite client.
  static constexpr TallixConnectionLimits kConnectionLimits{8, 4};
  static constexpr const char* kSessionEndEvent = "tallix.session_end";

  static const std::array<std::string_view, 4>& beaconEventArrayInstance();
  static std::string beaconEventEnumToString(int event);
  static int beaconEventStringToEnum(std::string_view event);
  // Replaces each "%{name}" by its value in `values` (keyed "%{name}"), and every other
  // placeholder in braces, with or without the percent sign, by nothing.
  static void substituteParamsInURL(std::string& url,
                                    const std::map<std::string, std::string>& values);

  TallixBeaconEventController();
  explicit TallixBeaconEventController(Timing timing);
  ~TallixBeaconEventController() override;

  void agentDidStart(const TallixAgentStart& start) override;
  void sessionDidStart(const std::string& apiKey, const std::string& sessionId) override;
  void sessionDidPause(const TallixSessionSpan& session) override;
  void formerSessionFound(const TallixSessionSpan& session) override;

  void requestSuccessful(const Task& task, const TallixHTTPResponse& response) override;
  void requestDidFail(const Task& task, const TallixHTTPResponse& response,
                      const TallixHttpError& error) override;
  void requestDidCancel(const Task& task, const TallixHTTPResponse& response) override;

  // Waits, at most the limit, until the work queued so far has run and its changes are on disk.
  bool waitUntilIdle(std::chrono::milliseconds limit);

 private:
  struct Started;

  void registerForNotifications(foundation::NotificationCenter& center);
  void onQueue(std::function<void(Started&)> work);
  void checkConfiguration(Started& started);
  bool configurationNeedsFetch(Started& started);
  void updateBeaconForAdTracking(Started& started);
  void processEvent(Started& started, const std::string& event, const foundation::Value& params,
                    const TallixSessionSpan& session);
  void fireConfigUrlsForEvent(Started& started, const std::string& event);
  void asyncInvokeURLWithParams(Started& started, TallixQueuedUrl url);
  void requestEnded(const Task& task);
  void appWillBackground(Started& started);
  void appWillResume(Started& started);
  void networkStatusChanged(Started& started, bool reachable);
  void firePendingUrlsOnNetworkAvailability(Started& started);
  void manageUrlStorage(Started& started, const TallixQueuedUrl& url);
  void makeBeaconRequest(Started& started);
  void setTimerToFireUrlWithTaskParams(Started& started, const TallixQueuedUrl& url,
                                       std::chrono::milliseconds duration);
  void firePendingUrls(Started& started);
  bool reachable(const Started& started) const;

  const Timing timing_;
  const std::shared_ptr<foundation::CallbackGate> gate_ =
      std::make_shared<foundation::CallbackGate>();
  foundation::NotificationCenter* center_ = nullptr;
  std::unique_ptr<Started> started_;  // the queue's own
  // Declared last: destroyed first, running what is queued while everything it uses stands.
  foundation::DispatchQueue queue_{"com.Tallix.BeaconEventController"};
};

}  // namespace tallix
