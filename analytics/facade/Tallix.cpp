#include "tallix/Tallix.h"

#include "analytics/config/pageviews/TallixPageViewDelegate.h"
#include "analytics/config/pageviews/TallixPageViewDelegateOld.h"
#include "analytics/core/support/TallixAgentVersion.h"
#include "analytics/core/support/TallixExceptionHandler.h"
#include "analytics/core/support/TallixLog.h"
#include "analytics/facade/TallixSharedAgent.h"
#include "analytics/facade/TallixValueConversion.h"

namespace tallix {

using foundation::Value;

namespace {

// Runs a facade call on the shared agent: refused while the user has opted out, and nothing
// thrown inside gets out.
template <typename Result, typename Work>
Result call(const char* method, Result refused, Work&& work) {
  try {
    TallixAgent& agent = sharedAgent();
    if (agent.hasUserOptedOut()) {
      TallixLog::refusal("Tallix: %s disabled.", method);
      return refused;
    }
    return work(agent);
  } catch (...) {
    TallixExceptionHandler::handleException(std::current_exception());
    return refused;
  }
}

template <typename Work>
void call(const char* method, Work&& work) {
  call(method, 0, [&](TallixAgent& agent) {
    work(agent);
    return 0;
  });
}

// The application's own logging calls: an extension logs through TallixWatch, into sessions of
// its own, and is refused these.
template <typename Result, typename Work>
Result callOutsideExtension(const char* method, const char* refusal, Result refused, Work&& work) {
  return call(method, refused, [&](TallixAgent& agent) {
    if (!agent.isWatchExtension())
      return work(agent);
    TallixLog::refusal("%s", refusal);
    return refused;
  });
}

template <typename Work>
void callOutsideExtension(const char* method, const char* refusal, Work&& work) {
  callOutsideExtension(method, refusal, 0, [&](TallixAgent& agent) {
    work(agent);
    return 0;
  });
}

constexpr const char* kEventRefusedInExtension =
    "Tallix: Event not logged -- this method cannot be used in watch extension.";
constexpr const char* kErrorRefusedInExtension =
    "Tallix: Error not logged -- this method cannot be used in watch extension.";
constexpr const char* kAllPageViewsRefusedInExtension =
    "Tallix: logAllPageViews disabled -- this method cannot be used in watch extension.";

// For the calls that must work whatever the user chose: the choice itself, and the start,
// which checks it once the user's earlier choice is read from disk.
template <typename Work>
void unrefused(Work&& work) {
  TallixExceptionHandler::guarded([&] { work(sharedAgent()); });
}

}  // namespace

void Tallix::setApplication(std::shared_ptr<TallixApplication> application) {
  unrefused([&](TallixAgent& agent) { agent.setApplication(std::move(application)); });
}

void Tallix::startSession(const std::string& apiKey) {
  unrefused([&](TallixAgent& agent) { agent.startSession(apiKey); });
}

void Tallix::startSession(const std::string& apiKey, const TallixValue& launchOptions) {
  unrefused([&](TallixAgent& agent) { agent.startSession(apiKey, toValue(launchOptions)); });
}

void Tallix::setAppVersion(const std::string& version) {
  call("+[Tallix setAppVersion:]", [&](TallixAgent& agent) { agent.setAppVersion(version); });
}

void Tallix::setSessionContinueSeconds(int seconds) {
  call("+[Tallix setSessionContinueSeconds:]",
       [&](TallixAgent& agent) { agent.setSessionContinueSeconds(seconds); });
}

int Tallix::sessionContinueSeconds() {
  return call("+[Tallix sessionContinueSeconds]", 0,
              [](TallixAgent& agent) { return agent.sessionContinueSeconds(); });
}

void Tallix::setMaxSessionsSaved(int maximum) {
  call("+[Tallix setMaxSessionsSaved:]",
       [&](TallixAgent& agent) { agent.setMaxSessionsSaved(maximum); });
}

void Tallix::setLogLevel(int level) {
  call("+[Tallix setLogLevel:]", [&](TallixAgent&) { TallixLog::setLogLevel(level); });
}

void Tallix::setDebugLogEnabled(bool enabled) {
  call("+[Tallix setDebugLogEnabled:]", [&](TallixAgent&) {
    TallixLog::setLogLevel(enabled ? TallixLog::kDebugLevel : TallixLog::kRefusalLevel);
  });
}

void Tallix::setShowErrorInLogEnabled(bool enabled) {
  call("+[Tallix setShowErrorInLogEnabled:]",
       [&](TallixAgent& agent) { agent.setShowErrorInLogEnabled(enabled); });
}

EventRecordResult Tallix::logEvent(const TallixValue& eventName, const TallixValue& parameters,
                                   bool timed) {
  return callOutsideExtension("+[Tallix logEvent:withParameters:timed:]", kEventRefusedInExtension,
                              EventRecordResult::Invalid, [&](TallixAgent& agent) {
                                return agent.logEvent(toValue(eventName), toValue(parameters),
                                                      timed);
                              });
}

EventRecordResult Tallix::logEvent(const TallixValue& eventName, bool timed) {
  return callOutsideExtension(
      "+[Tallix logEvent:timed:]", kEventRefusedInExtension, EventRecordResult::Invalid,
      [&](TallixAgent& agent) { return agent.logEvent(toValue(eventName), Value(), timed); });
}

void Tallix::endTimedEvent(const TallixValue& eventName, const TallixValue& parameters) {
  call("+[Tallix endTimedEvent:withParameters:]",
       [&](TallixAgent& agent) { agent.endTimedEvent(toValue(eventName), toValue(parameters)); });
}

void Tallix::logError(const TallixValue& errorId, const TallixValue& message,
                      std::exception_ptr exception) {
  callOutsideExtension(
      "+[Tallix logError:message:exception:]", kErrorRefusedInExtension,
      [&](TallixAgent& agent) { agent.logError(toValue(errorId), toValue(message), exception); });
}

void Tallix::logError(const TallixValue& errorId, const TallixValue& message,
                      const std::error_code& error) {
  callOutsideExtension(
      "+[Tallix logError:message:error:]", kErrorRefusedInExtension,
      [&](TallixAgent& agent) { agent.logError(toValue(errorId), toValue(message), error); });
}

void Tallix::setUserID(const std::string& userID) {
  call("+[Tallix setUserID:]", [&](TallixAgent& agent) { agent.setUserID(userID); });
}

void Tallix::setGender(const TallixValue& gender) {
  call("+[Tallix setGender:]", [&](TallixAgent& agent) { agent.setGender(toValue(gender)); });
}

void Tallix::setAge(int age) {
  call("+[Tallix setAge:]", [&](TallixAgent& agent) { agent.setAge(age); });
}

void Tallix::setLatitude(double latitude, double longitude, double horizontalAccuracy,
                         double verticalAccuracy) {
  call("+[Tallix setLatitude:longitude:horizontalAccuracy:verticalAccuracy:]",
       [&](TallixAgent& agent) {
         agent.setLatitude(latitude, longitude, horizontalAccuracy, verticalAccuracy);
       });
}

void Tallix::setEventLoggingEnabled(bool enabled) {
  call("+[Tallix setEventLoggingEnabled:]",
       [&](TallixAgent& agent) { agent.setEventLoggingEnabled(enabled); });
}

void Tallix::setSessionReportsOnCloseEnabled(bool enabled) {
  call("+[Tallix setSessionReportsOnCloseEnabled:]",
       [&](TallixAgent& agent) { agent.setSessionReportsOnCloseEnabled(enabled); });
}

void Tallix::setSessionReportsOnPauseEnabled(bool enabled) {
  call("+[Tallix setSessionReportsOnPauseEnabled:]",
       [&](TallixAgent& agent) { agent.setSessionReportsOnPauseEnabled(enabled); });
}

void Tallix::setCrashReportingEnabled(bool enabled) {
  call("+[Tallix setCrashReportingEnabled:]",
       [&](TallixAgent& agent) { agent.setCrashReportingEnabled(enabled); });
}

void Tallix::setBackgroundSessionEnabled(bool enabled) {
  call("+[Tallix setBackgroundSessionEnabled:]",
       [&](TallixAgent& agent) { agent.setBackgroundSessionEnabled(enabled); });
}

void Tallix::addSessionOrigin(const TallixValue& name, const TallixValue& deepLink) {
  call("+[Tallix addSessionOrigin:withDeepLink:]",
       [&](TallixAgent& agent) { agent.addSessionOrigin(toValue(name), toValue(deepLink)); });
}

void Tallix::addOrigin(const TallixValue& name, const TallixValue& version,
                       const TallixValue& parameters) {
  call("+[Tallix addOrigin:withVersion:withParameters:]", [&](TallixAgent& agent) {
    agent.addOrigin(toValue(name), toValue(version), toValue(parameters));
  });
}

void Tallix::sessionProperties(const TallixValue& properties) {
  call("+[Tallix sessionProperties:]",
       [&](TallixAgent& agent) { agent.sessionProperties(toValue(properties)); });
}

void Tallix::logAllPageViewsForTarget(const std::shared_ptr<TallixPageViewTarget>& target) {
  // Its refusal names the method by its short name alone.
  callOutsideExtension("logAllPageViews", kAllPageViewsRefusedInExtension, [&](TallixAgent& agent) {
    TallixPageViewDelegate::createDelegateOnTarget(target, agent.pageViewCounter());
  });
}

void Tallix::logAllPageViews(const std::shared_ptr<TallixPageViewTarget>& target) {
  callOutsideExtension(
      "+[Tallix logAllPageViews:]", kAllPageViewsRefusedInExtension, [&](TallixAgent& agent) {
        TallixPageViewDelegateOld::createDelegateOnTarget(target, agent.pageViewCounter());
      });
}

void Tallix::stopLogPageViewsForTarget(const std::shared_ptr<TallixPageViewTarget>& target) {
  unrefused([&](TallixAgent&) { TallixPageViewDelegate::destroyDelegateOnTarget(target); });
}

void Tallix::logPageView() {
  callOutsideExtension("+[Tallix logPageView]",
                       "Tallix: logPageView disabled -- this method cannot be used in watch "
                       "extension.",
                       [](TallixAgent& agent) { agent.logPageView(); });
}

bool Tallix::activeSessionExists() {
  return call("+[Tallix activeSessionExists]", false,
              [](TallixAgent& agent) { return agent.activeSessionExists(); });
}

std::string Tallix::getSessionID() {
  return call("+[Tallix getSessionID]", std::string(),
              [](TallixAgent& agent) { return agent.getSessionID(); });
}

std::string Tallix::getTallixAgentVersion() {
  return call("+[Tallix getTallixAgentVersion]", std::string(),
              [](TallixAgent&) { return TallixAgentVersion::getAgentVersion(); });
}

void Tallix::setDelegate(std::weak_ptr<TallixDelegate> delegate) {
  call("+[Tallix setDelegate:]", [&](TallixAgent& agent) { agent.setDelegate(delegate); });
}

void Tallix::setServerURL(const std::string& server) {
  call("+[Tallix setServerURL:]", [&](TallixAgent& agent) { agent.setServerURL(server); });
}

void Tallix::setSecureTransportEnabled(bool enabled) {
  call("+[Tallix setSecureTransportEnabled:]",
       [&](TallixAgent& agent) { agent.setSecureTransportEnabled(enabled); });
}

void Tallix::setBeaconEnabled(bool enabled) {
  call("+[Tallix setBeaconEnabled:]", [&](TallixAgent& agent) { agent.setBeaconEnabled(enabled); });
}

void Tallix::setBeaconServerURL(const std::string& url) {
  call("+[Tallix setBeaconServerURL:]", [&](TallixAgent& agent) { agent.setBeaconServerURL(url); });
}

void Tallix::pauseSession() {
  call("+[Tallix pauseSession]", [](TallixAgent& agent) { agent.pauseSession(); });
}

void Tallix::pauseBackgroundSession() {
  call("+[Tallix pauseBackgroundSession]",
       [](TallixAgent& agent) { agent.pauseBackgroundSession(); });
}

void Tallix::endSession() {
  call("+[Tallix endSession]", [](TallixAgent& agent) { agent.endSession(); });
}

void Tallix::setTallixOptOut(bool optOut) {
  unrefused([&](TallixAgent& agent) { agent.setTallixOptOut(optOut); });
}

bool Tallix::hasUserOptedOut() {
  bool optedOut = false;
  unrefused([&](TallixAgent& agent) { optedOut = agent.hasUserOptedOut(); });
  return optedOut;
}

void Tallix::shutdown() {
  call("+[Tallix shutdown]", [](TallixAgent& agent) { agent.shutdown(); });
}

}  // namespace tallix
