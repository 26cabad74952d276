#include "analytics/config/callbacks/TallixBeaconEventController.h"

#include <future>
#include <regex>

#include "analytics/config/callbacks/TallixBeaconUrlQueue.h"
#include "analytics/config/callbacks/TallixQueuedUrl.h"
#include "analytics/config/exchange/TallixBeaconAppTemplate.h"
#include "analytics/config/exchange/TallixBeaconRequest.h"
#include "analytics/config/exchange/TallixBeaconSettings.h"
#include "analytics/config/exchange/TallixBeaconSettingsStore.h"
#include "analytics/core/net/TallixHttpAsyncTask.h"
#include "analytics/core/net/TallixHttpClient.h"
#include "analytics/core/net/TallixNetworkUtil.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixClock.h"
#include "analytics/core/support/TallixLog.h"
#include "analytics/core/support/TallixTimeInterval.h"
#include "foundation/NotificationCenter.h"
#include "foundation/StringFormat.h"
#include "foundation/Timer.h"
#include "tallix/TallixApplication.h"

namespace tallix {

using foundation::Date;
using foundation::Value;

namespace {

constexpr const char* kAdTrackingKey = "isAdTrackingEnabled";

std::int64_t millisecondsSince1970(Date date) {
  return timeIntervalFrom(Date(), date);
}

std::string decimal(std::int64_t number) {
  return foundation::stringWithFormat("%lld", static_cast<long long>(number));
}

}  // namespace

// What the agent's start brings: the agent's parts and what the controller makes from them.
struct TallixBeaconEventController::Started {
  Started(const TallixAgentStart& start, TallixHttpTransport::Executor onQueue,
          foundation::DispatchQueue& queue)
      : storage(start.storage),
        network(start.network),
        clock(start.clock),
        adTrackingEnabled(start.device.adTrackingEnabled),
        client(std::move(onQueue), kConnectionLimits),
        urls(start.storage.persistentBeaconPrepUrlsMap(), start.storage.persistentBeaconUrlsMap(),
             queue),
        settings(start.storage.persistentGlobalsMap()),
        request(std::make_shared<TallixBeaconRequest>(
            TallixBeaconRequest::Parts{storage, network, clock, start.device, client})) {}

  std::int64_t nowMilliseconds() const { return millisecondsSince1970(clock.now()); }
  std::int64_t nowSeconds() const { return nowMilliseconds() / 1000; }

  TallixGlobalVariableStorage& storage;
  const std::shared_ptr<TallixNetworkUtil> network;
  const TallixClock& clock;
  const bool adTrackingEnabled;
  TallixHttpClient client;
  TallixBeaconUrlQueue urls;
  TallixBeaconSettingsStore settings;
  const std::shared_ptr<TallixBeaconRequest> request;
  std::vector<std::shared_ptr<foundation::Timer>> pendingUrlTimers;
};

const std::array<std::string_view, 4>& TallixBeaconEventController::beaconEventArrayInstance() {
  static constexpr std::array<std::string_view, 4> kEvents{
      "unknown", "tallix.session_start", "tallix.session_end", "tallix.first_app_launch"};
  return kEvents;
}

std::string TallixBeaconEventController::beaconEventEnumToString(int event) {
  const auto& events = beaconEventArrayInstance();
  return event >= 0 && event < static_cast<int>(events.size()) ? std::string(events[event]) : "";
}

int TallixBeaconEventController::beaconEventStringToEnum(std::string_view event) {
  const auto& events = beaconEventArrayInstance();
  for (std::size_t index = 0; index < events.size(); ++index) {
    if (events[index] == event)
      return static_cast<int>(index);
  }
  return 0;
}

void TallixBeaconEventController::substituteParamsInURL(
    std::string& url, const std::map<std::string, std::string>& values) {
  static const std::regex placeholder(R"(%?\{([A-Za-z0-9_])*\})");
  std::smatch match;
  // Each replacement may shift what follows, so the search starts over from the beginning.
  while (std::regex_search(url, match, placeholder)) {
    const auto value = values.find(match.str());
    url.replace(match.position(), match.length(), value == values.end() ? "" : value->second);
  }
}

TallixBeaconEventController::TallixBeaconEventController()
    : TallixBeaconEventController(Timing()) {}

TallixBeaconEventController::TallixBeaconEventController(Timing timing) : timing_(timing) {}

TallixBeaconEventController::~TallixBeaconEventController() {
  gate_->close();
  if (center_)
    center_->removeObserver(this);
  queue_.sync([this] {
    if (started_)
      started_->urls.flush();
  });
}

void TallixBeaconEventController::onQueue(std::function<void(Started&)> work) {
  queue_.async([this, work = std::move(work)] {
    if (started_)
      work(*started_);
  });
}

void TallixBeaconEventController::agentDidStart(const TallixAgentStart& start) {
  queue_.async([this, start] {
    if (started_)
      return;
    auto onQueue = [gate = gate_, queue = &queue_](TallixHttpTransport::Work work) {
      const foundation::CallbackGate::Pass pass(*gate);
      if (pass.admitted())
        queue->async(std::move(work));
    };
    started_ = std::make_unique<Started>(start, std::move(onQueue), queue_);
  });
  registerForNotifications(start.notificationCenter);
}

void TallixBeaconEventController::registerForNotifications(foundation::NotificationCenter& center) {
  center_ = &center;
  center.addObserver(kApplicationWillResignActiveNotification, this, [this](const auto&) {
    onQueue([this](Started& started) { appWillBackground(started); });
  });
  center.addObserver(kApplicationDidBecomeActiveNotification, this, [this](const auto&) {
    onQueue([this](Started& started) { appWillResume(started); });
  });
  center.addObserver(
      TallixNetworkUtil::kStatusChangedNotification, this,
      [this](const foundation::Notification& notification) {
        const Value* status = notification.userInfo.find("networkStatus");
        const bool reachable = status && status->integer() == TallixNetworkUtil::kReachable;
        onQueue([this, reachable](Started& started) { networkStatusChanged(started, reachable); });
      });
}

void TallixBeaconEventController::sessionDidStart(const std::string&, const std::string&) {
  onQueue([this](Started& started) {
    if (started.storage.beaconMonitoringEnabled())
      checkConfiguration(started);
  });
}

void TallixBeaconEventController::sessionDidPause(const TallixSessionSpan& session) {
  onQueue([this, session](Started& started) {
    if (started.storage.beaconMonitoringEnabled())
      processEvent(started, kSessionEndEvent,
                   Value::Dictionary{{"totalSessionBgTime", session.totalPauseMillis}}, session);
  });
}

void TallixBeaconEventController::formerSessionFound(const TallixSessionSpan& session) {
  onQueue([this, session](Started& started) {
    if (!started.storage.beaconMonitoringEnabled())
      return;
    processEvent(started, kSessionEndEvent,
                 Value::Dictionary{{"totalSessionBgTime", session.totalPauseMillis}}, session);
    fireConfigUrlsForEvent(started, kSessionEndEvent);
  });
}

void TallixBeaconEventController::checkConfiguration(Started& started) {
  if (configurationNeedsFetch(started))
    makeBeaconRequest(started);
  else
    updateBeaconForAdTracking(started);
  fireConfigUrlsForEvent(started, kSessionEndEvent);
}

// A stored configuration serves while fresh; one without templates is asked for again at
// every trigger, and an expired one is dropped first.
bool TallixBeaconEventController::configurationNeedsFetch(Started& started) {
  const std::int64_t now = started.nowMilliseconds();
  const auto settings = started.settings.load();
  if (!settings || settings->expirationTTL() <= now) {
    started.settings.remove();
    return true;
  }
  return settings->nextRefreshTTL() <= now || settings->callbacks().empty();
}

void TallixBeaconEventController::updateBeaconForAdTracking(Started& started) {
  auto& globals = started.storage.persistentGlobalsMap();
  const bool stored = globals.valueForKey(kAdTrackingKey).value_or(false) == Value(true);
  if (stored == started.adTrackingEnabled)
    return;
  globals.setValue(kAdTrackingKey, started.adTrackingEnabled);
  started.settings.remove();
  makeBeaconRequest(started);
}

void TallixBeaconEventController::processEvent(Started& started, const std::string& event,
                                               const Value& params,
                                               const TallixSessionSpan& session) {
  (void)params;  // the partners' figures come from the session itself
  updateBeaconForAdTracking(started);
  const auto settings = started.settings.load();
  if (!settings)
    return;
  // A session that never ended reports no duration.
  const Date end = session.endTime.value_or(session.startTime);
  const std::string duration = decimal(timeIntervalFrom(session.startTime, end));
  const std::string sessionKey = decimal(millisecondsSince1970(session.startTime));
  const std::map<std::string, std::string> values{{"%{session_duration_millis}", duration},
                                                  {"%{fg_timespent_millis}", duration},
                                                  {"%{timestamp_epoch_millis}", sessionKey}};
  std::vector<TallixQueuedUrl> urls;
  for (const auto& callback : settings->callbacks()) {
    for (const Value& listed : callback->events()) {
      if (listed != Value(event))
        continue;
      std::string url = callback->uriTemplate().value_or("");
      substituteParamsInURL(url, values);
      urls.push_back(
          {.invokeURL = std::move(url),
           .method = TallixBeaconAppTemplate::beaconMethodEnumToString(callback->method()),
           .eventString = event});
    }
  }
  started.urls.prepare(sessionKey, event, urls);
}

void TallixBeaconEventController::fireConfigUrlsForEvent(Started& started,
                                                         const std::string& event) {
  for (auto& url : started.urls.takePrepared(event))
    asyncInvokeURLWithParams(started, std::move(url));
}

void TallixBeaconEventController::asyncInvokeURLWithParams(Started& started, TallixQueuedUrl url) {
  url.beingFired = true;
  url.expiration = started.nowSeconds() + TallixQueuedUrl::kLifetimeSeconds;
  started.urls.storePending(url);
  auto task = TallixHttpAsyncTask::sendMethod(started.client, url.method, url.invokeURL, {},
                                              {{"Content-Type", "application/octet-stream"}},
                                              weak_from_this(), false);
  task->setTaskParams(url.toValue());
  task->start();
}

// The transport hands its answers to the controller's queue: the delegate calls run there.
void TallixBeaconEventController::requestSuccessful(const Task& task, const TallixHTTPResponse&) {
  const auto url = TallixQueuedUrl::fromValue(task->taskParams());
  if (started_ && url)
    started_->urls.removePending(url->invokeURL);
}

void TallixBeaconEventController::requestDidFail(const Task& task, const TallixHTTPResponse&,
                                                 const TallixHttpError&) {
  requestEnded(task);
}

void TallixBeaconEventController::requestDidCancel(const Task& task, const TallixHTTPResponse&) {
  requestEnded(task);
}

void TallixBeaconEventController::requestEnded(const Task& task) {
  auto url = TallixQueuedUrl::fromValue(task->taskParams());
  if (!started_ || !url)
    return;
  url->beingFired = false;
  manageUrlStorage(*started_, *url);
}

void TallixBeaconEventController::manageUrlStorage(Started& started, const TallixQueuedUrl& url) {
  if (started.nowSeconds() >= url.expiration || url.repeatDuration < 1) {
    started.urls.removePending(url.invokeURL);
    return;
  }
  started.urls.storePending(url);
  if (reachable(started))
    setTimerToFireUrlWithTaskParams(started, url, 3 * url.repeatDuration * timing_.repeatUnit);
}

void TallixBeaconEventController::setTimerToFireUrlWithTaskParams(
    Started& started, const TallixQueuedUrl& url, std::chrono::milliseconds duration) {
  auto timer =
      foundation::Timer::scheduled(queue_, duration, false, [this, url](foundation::Timer& fired) {
        if (!started_)
          return;
        std::erase_if(started_->pendingUrlTimers,
                      [&fired](const auto& timer) { return timer.get() == &fired; });
        asyncInvokeURLWithParams(*started_, url);
      });
  started.pendingUrlTimers.push_back(std::move(timer));
}

void TallixBeaconEventController::appWillBackground(Started& started) {
  TallixLog::debug("TallixBeaconEventController: pause session called");
  for (const auto& timer : started.pendingUrlTimers)
    timer->invalidate();
  started.pendingUrlTimers.clear();
}

void TallixBeaconEventController::appWillResume(Started& started) {
  TallixLog::debug("TallixBeaconEventController: app resuming");
  firePendingUrlsOnNetworkAvailability(started);
}

void TallixBeaconEventController::networkStatusChanged(Started& started, bool isReachable) {
  TallixLog::debug("TallixSession: networkStatusChanged to %s reachable", isReachable ? "" : "not");
  if (!isReachable)
    return;
  if (started.storage.beaconMonitoringEnabled() && configurationNeedsFetch(started))
    makeBeaconRequest(started);
  firePendingUrlsOnNetworkAvailability(started);
}

void TallixBeaconEventController::firePendingUrlsOnNetworkAvailability(Started& started) {
  const bool isReachable = reachable(started);
  TallixLog::debug("TallixSession: networkStatusChanged to %s reachable", isReachable ? "" : "not");
  if (isReachable)
    onQueue([this](Started& later) { firePendingUrls(later); });
}

void TallixBeaconEventController::firePendingUrls(Started& started) {
  for (auto& url : started.urls.takeDue(started.nowSeconds()))
    asyncInvokeURLWithParams(started, std::move(url));
}

void TallixBeaconEventController::makeBeaconRequest(Started& started) {
  started.request->invokeBeaconWithParams();
}

bool TallixBeaconEventController::reachable(const Started& started) const {
  return started.network->networkStatus() == TallixNetworkUtil::kReachable;
}

bool TallixBeaconEventController::waitUntilIdle(std::chrono::milliseconds limit) {
  auto idle = std::make_shared<std::promise<void>>();
  auto future = idle->get_future();
  queue_.async([this, idle] {
    if (started_)
      started_->urls.flush();
    idle->set_value();
  });
  return future.wait_for(limit) == std::future_status::ready;
}

}  // namespace tallix
