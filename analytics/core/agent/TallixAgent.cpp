#include "analytics/core/agent/TallixAgent.h"

#include "analytics/core/agent/TallixApplicationStateObserver.h"
#include "analytics/core/agent/TallixDeviceDescriber.h"
#include "analytics/core/agent/TallixProcessApplication.h"
#include "analytics/core/model/TallixLimits.h"
#include "analytics/core/ports/TallixAgentService.h"
#include "analytics/core/ports/TallixCrashCapture.h"
#include "analytics/core/report/TallixSessionReporter.h"
#include "analytics/core/session/TallixSession.h"
#include "analytics/core/support/TallixAgentVersion.h"
#include "analytics/core/support/TallixExceptionHandler.h"
#include "analytics/core/support/TallixFilePaths.h"
#include "analytics/core/support/TallixLog.h"
#include "analytics/core/support/TallixTimeInterval.h"
#include "foundation/NotificationCenter.h"
#include "tallix/TallixDelegate.h"

namespace tallix {

using foundation::Date;
using foundation::Value;

namespace {

constexpr std::chrono::duration<double> kHeartBeatInterval{1.0};
// The process is about to exit: the session's end must reach the disk, but not at any price.
constexpr std::chrono::milliseconds kTerminationWait{2000};
// And the report it sends gets a little longer to reach the server; if it does not, it is
// stored and goes at the next start.
constexpr std::chrono::milliseconds kDeliveryWait{3000};

// The text of a string argument, or nothing after logging the refusal.
const std::string* requireString(const Value& argument, const char* refusal) {
  if (const std::string* text = argument.string())
    return text;
  TallixLog::refusal("%s", refusal);
  return nullptr;
}

}  // namespace

TallixAgent::TallixAgent(TallixEnvironment environment)
    : environment_(std::move(environment)),
      center_(environment_.notificationCenter ? *environment_.notificationCenter
                                              : foundation::NotificationCenter::defaultCenter()),
      storage_(""),
      impl_({*environment_.clock, storage_, center_, environment_.services}),
      uploads_(std::make_unique<TallixUploadService>(impl_.queueExecutor(), storage_,
                                                     *environment_.clock, center_)),
      heartBeater_(impl_.queue(), center_),
      stateObserver_(std::make_unique<TallixApplicationStateObserver>(center_, *this)) {}

TallixAgent::~TallixAgent() = default;

void TallixAgent::setApplication(std::shared_ptr<TallixApplication> application) {
  std::lock_guard lock(mutex_);
  application_ = std::move(application);
}

std::shared_ptr<TallixApplication> TallixAgent::application() const {
  std::lock_guard lock(mutex_);
  return application_ ? application_ : std::make_shared<TallixProcessApplication>();
}

std::filesystem::path TallixAgent::fileDirectory() const {
  auto directory = environment_.fileDirectory.value_or(application()->dataDirectory() / "Tallix");
  std::error_code ignored;
  std::filesystem::create_directories(directory, ignored);
  std::filesystem::permissions(directory, std::filesystem::perms::owner_all, ignored);
  return directory;
}

void TallixAgent::startSession(const std::string& apiKey, const Value& launchOptions) {
  storage_.update([&](TallixSettings& settings) { settings.launchOptions = launchOptions; });
  startSession(apiKey);
}

void TallixAgent::startSession(const std::string& apiKey) {
  if (!storage_.markStartSessionCalled()) {
    TallixLog::refusal(
        "Tallix: startSession has been called already. It should only be called once. "
        "Returning.");
    return;
  }
  TallixLog::debug("Tallix: startSession called for the first time");
  // The key's maps come first: they hold an opt-out the user made in an earlier run.
  adoptApiKey(apiKey, fileDirectory());
  if (hasUserOptedOut()) {
    TallixLog::refusal("Tallix: %s disabled.", "+[Tallix startSession:]");
    return;
  }
  const auto app = application();
  const TallixSettings settings = storage_.settings();
  TallixLog::debug("Tallix: Start session called with apiKey[%s]", settings.apiKey.c_str());
  TallixLog::debug("Tallix: Starting session on Agent Version [%s] ",
                   TallixAgentVersion::getAgentVersion().c_str());
  if (settings.crashReportingEnabled && environment_.crashCapture) {
    TallixLog::debug("Tallix: crash reporting enabled");
    if (const std::string error =
            environment_.crashCapture->enable(app->bundleIdentifier(), app->bundleVersion());
        !error.empty())
      TallixLog::debug("Tallix: Failed to initialize crash reporter: %s", error.c_str());
    std::lock_guard lock(mutex_);
    crashCapture_ = environment_.crashCapture;
  }
  stateObserver_->observeStateChanges();
  const ApplicationState state = app->applicationState();
  setApplicationState(state);
  if (state == ApplicationState::Active)
    startupNetworkAndSendSession();
  else
    stateObserver_->observeDidFinishLaunching();
}

void TallixAgent::adoptApiKey(const std::string& apiKey, const std::filesystem::path& directory) {
  storage_.setApiKey(apiKey, directory);
  storage_.loadInitialTimestamp(
      TallixFilePaths(directory, storage_.settings().apiKey).initialTimestamp(),
      environment_.clock->now());
  const std::string version = application()->bundleVersion();
  storage_.update([&](TallixSettings& settings) {
    if (settings.appVersion.empty())
      settings.appVersion = version;
  });
}

TallixAgentStart TallixAgent::startExtension(const std::string& apiKey) {
  const auto directory = fileDirectory();
  adoptApiKey(apiKey, directory);
  return {storage_.settings().apiKey, directory, storage_,         uploads_->network(),
          *environment_.clock,        center_,   device(directory)};
}

void TallixAgent::didFinishLaunchingWithOptionsInBackground(const Value& launchOptions) {
  TallixExceptionHandler::guarded([&] {
    if (launchOptions.dictionary())
      storage_.update([&](TallixSettings& settings) { settings.launchOptions = launchOptions; });
    startupNetworkAndSendSession();
  });
}

void TallixAgent::startupNetworkAndSendSession() {
  const std::string apiKey = storage_.settings().apiKey;
  const auto directory = fileDirectory();
  const TallixAgentStart start{
      apiKey,  directory,        storage_, uploads_->network(), *environment_.clock,
      center_, device(directory)};
  // The services first: the uploader starts following the network, and its first news must
  // reach them too.
  for (const auto& service : environment_.services)
    service->agentDidStart(start);
  uploads_->agentDidStart(start);
  heartBeater_.start(kHeartBeatInterval);
  createAndSendSession();
  TallixLog::debug("Tallix: Finish starting session with apiKey[%s]", apiKey.c_str());
}

void TallixAgent::createAndSendSession() {
  const std::string apiKey = storage_.settings().apiKey;
  const auto directory = fileDirectory();
  const Date startTime =
      impl_.setupForApiKey(apiKey, directory, reporter(directory), runCrashCapture());
  copySettingsIntoSession();
  const std::string sessionId = TallixSession::sessionIdFor(startTime);
  tellDelegate(apiKey, sessionId);
  // From the queue, behind the session's set-up and whatever the previous session still had
  // to do, so a service hears of its pause before it hears of this start.
  impl_.queue().async([services = environment_.services, apiKey, sessionId] {
    for (const auto& service : services)
      service->sessionDidStart(apiKey, sessionId);
  });
}

const TallixDeviceDescription& TallixAgent::device(const std::filesystem::path& directory) {
  std::call_once(deviceOnce_,
                 [&] { device_ = TallixDeviceDescriber::describe(*application(), directory); });
  return device_;
}

std::shared_ptr<TallixSessionReporter> TallixAgent::reporter(
    const std::filesystem::path& directory) {
  {
    std::lock_guard lock(mutex_);
    if (reporter_)
      return reporter_;
  }
  // Made outside the lock, which the application's accessor takes.
  auto made = makeReporter(device(directory), uploads_->dataSender());
  std::lock_guard lock(mutex_);
  if (!reporter_)
    reporter_ = std::move(made);
  return reporter_;
}

std::shared_ptr<TallixSessionReporter> TallixAgent::makeReporter(
    const TallixDeviceDescription& description, std::shared_ptr<TallixDataSending> sender) {
  return std::make_shared<TallixSessionReporter>(
      storage_, *environment_.clock, description,
      [network = uploads_->network()] { return network->networkStatus(); },
      [app = application()] {
        const ScreenSize screen = app->screenSize();
        return screen.width > screen.height;
      },
      std::move(sender));
}

void TallixAgent::copySettingsIntoSession() {
  const TallixSettings settings = storage_.settings();
  impl_.async([settings](TallixSession& session) {
    session.setSessionReportsOnCloseEnabled(settings.sessionReportsOnCloseEnabled);
    session.setSessionReportsOnPauseEnabled(settings.sessionReportsOnPauseEnabled);
    session.setBackgroundSessionEnabled(settings.backgroundSessionEnabled);
    session.setEventLoggingEnabled(settings.eventLoggingEnabled);
    session.setCrashReportingEnabled(settings.crashReportingEnabled);
    session.setAgeInYears(settings.age);
  });
}

void TallixAgent::tellDelegate(const std::string& apiKey, const std::string& sessionId) {
  std::shared_ptr<TallixDelegate> delegate;
  {
    std::lock_guard lock(mutex_);
    delegate = delegate_.lock();
  }
  if (delegate)
    delegate->tallixSessionDidCreateWithInfo({{"apiKey", apiKey}, {"sessionId", sessionId}});
}

void TallixAgent::setApplicationState(ApplicationState state) {
  storage_.update([state](TallixSettings& settings) {
    settings.appApplicationState = static_cast<int>(state);
  });
}

void TallixAgent::applicationWillResignActive() {
  TallixExceptionHandler::guarded([&] {
    setApplicationState(ApplicationState::Inactive);
    if (!storage_.settings().backgroundSessionEnabled)
      pauseSession();
  });
}

void TallixAgent::applicationWillEnterForeground() {
  impl_.async([](TallixSession& session) { session.markSessionAsResuming(); });
}

void TallixAgent::applicationDidBecomeActive() {
  TallixExceptionHandler::guarded([&] {
    setApplicationState(ApplicationState::Active);
    const TallixSettings settings = storage_.settings();
    const std::int64_t elapsed =
        settings.pauseTime ? timeIntervalFrom(settings.pauseTime, environment_.clock->now()) : 0;
    if (std::int64_t{settings.pauseSecondsBeforeStartingNewSession} * 1000 >= elapsed)
      impl_.async([](TallixSession& session) { session.resumeSession(); });
    else
      createAndSendSession();
  });
}

void TallixAgent::applicationWillTerminate() {
  TallixExceptionHandler::guarded([&] {
    endSession();
    if (!impl_.waitUntilIdle(kTerminationWait))
      TallixLog::debug("Tallix: session end not on disk before the application ended");
    else if (!uploads_->waitUntilDelivered(kDeliveryWait))
      TallixLog::debug("Tallix: expiration handler reached");
  });
}

void TallixAgent::pauseSession() {
  const Date pausedAt = environment_.clock->now();
  storage_.update([pausedAt](TallixSettings& settings) { settings.pauseTime = pausedAt; });
  impl_.async([](TallixSession& session) { session.pauseSession(); });
}

void TallixAgent::pauseBackgroundSession() {
  setApplicationState(ApplicationState::Background);
  pauseSession();
}

void TallixAgent::endSession() {
  impl_.async([](TallixSession& session) { session.endSession(); });
  for (const auto& service : environment_.services)
    service->sessionDidEnd();
}

void TallixAgent::shutdown() {
  heartBeater_.stop();
  if (impl_.hasSession())
    applicationWillTerminate();
}

void TallixAgent::setAppVersion(const std::string& version) {
  if (impl_.hasSession()) {
    TallixLog::refusal("Tallix: Please call setAppVersion before startSession.");
    return;
  }
  TallixLog::debug("Tallix: setAppVersion[%s]", version.c_str());
  storage_.update([&](TallixSettings& settings) { settings.appVersion = version; });
}

void TallixAgent::setSessionContinueSeconds(int seconds) {
  storage_.update([seconds](TallixSettings& settings) {
    settings.pauseSecondsBeforeStartingNewSession = seconds;
  });
}

int TallixAgent::sessionContinueSeconds() const {
  return storage_.settings().pauseSecondsBeforeStartingNewSession;
}

void TallixAgent::setMaxSessionsSaved(int maximum) {
  storage_.update([maximum](TallixSettings& settings) { settings.maxSessionsSaved = maximum; });
}

void TallixAgent::setEventLoggingEnabled(bool enabled) {
  storage_.update([enabled](TallixSettings& settings) { settings.eventLoggingEnabled = enabled; });
  impl_.async([enabled](TallixSession& session) { session.setEventLoggingEnabled(enabled); });
}

void TallixAgent::setSessionReportsOnCloseEnabled(bool enabled) {
  storage_.update(
      [enabled](TallixSettings& settings) { settings.sessionReportsOnCloseEnabled = enabled; });
  impl_.async(
      [enabled](TallixSession& session) { session.setSessionReportsOnCloseEnabled(enabled); });
}

void TallixAgent::setSessionReportsOnPauseEnabled(bool enabled) {
  storage_.update(
      [enabled](TallixSettings& settings) { settings.sessionReportsOnPauseEnabled = enabled; });
  impl_.async(
      [enabled](TallixSession& session) { session.setSessionReportsOnPauseEnabled(enabled); });
}

void TallixAgent::setCrashReportingEnabled(bool enabled) {
  storage_.update(
      [enabled](TallixSettings& settings) { settings.crashReportingEnabled = enabled; });
  impl_.async([enabled](TallixSession& session) { session.setCrashReportingEnabled(enabled); });
}

void TallixAgent::setBackgroundSessionEnabled(bool enabled) {
  storage_.update(
      [enabled](TallixSettings& settings) { settings.backgroundSessionEnabled = enabled; });
  impl_.async([enabled](TallixSession& session) { session.setBackgroundSessionEnabled(enabled); });
  TallixLog::debug("Tallix: Background session enabled[%d]", enabled);
}

void TallixAgent::setTallixOptOut(bool optOut) {
  storage_.setOptOut(optOut);
  if (optOut)
    endSession();
}

void TallixAgent::setShowErrorInLogEnabled(bool enabled) {
  std::lock_guard lock(mutex_);
  showErrorInLog_ = enabled;
}

void TallixAgent::setServerURL(const std::string& server) {
  if (!uploads_->network()->setServerURL(server)) {
    TallixLog::refusal("Tallix: setServerURL failed -- [%s] is not a host or host:port.",
                       server.c_str());
    return;
  }
  TallixLog::debug("Tallix: setServerURL[%s]", server.c_str());
}

void TallixAgent::setSecureTransportEnabled(bool enabled) {
  uploads_->network()->setSecureTransportEnabled(enabled);
}

void TallixAgent::setBeaconEnabled(bool enabled) {
  storage_.setBeaconMonitoringEnabled(enabled);
  TallixLog::debug("Tallix: setBeaconEnabled[%d]", enabled);
}

void TallixAgent::setBeaconServerURL(const std::string& url) {
  if (!uploads_->network()->setConfigServerUrl(url)) {
    TallixLog::refusal("Tallix: setBeaconServerURL failed -- [%s] is not an http(s) URL.",
                       url.c_str());
    return;
  }
  TallixLog::debug("Tallix: setBeaconServerURL[%s]", url.c_str());
}

void TallixAgent::setDelegate(std::weak_ptr<TallixDelegate> delegate) {
  std::lock_guard lock(mutex_);
  delegate_ = std::move(delegate);
}

EventRecordResult TallixAgent::logEvent(const Value& eventName, const Value& parameters,
                                        bool timed) {
  const std::string* name =
      requireString(eventName, "Tallix: Event not logged -- eventName must be of NSString type.");
  if (!name)
    return EventRecordResult::Invalid;
  if (name->empty()) {
    TallixLog::refusal("Tallix: Event not logged -- eventName may not be empty.");
    return EventRecordResult::Invalid;
  }
  if (!parameters.isNull() && !parameters.dictionary())
    return EventRecordResult::Invalid;
  if (parameters.dictionary() && parameters.dictionary()->size() > kMaxParametersPerEvent) {
    TallixLog::refusal(
        "Tallix: Event not logged -- parameters may not contain more than %d elements.",
        static_cast<int>(kMaxParametersPerEvent));
    return EventRecordResult::TooManyParameters;
  }
  return impl_.recordEvent(eventName, parameters, timed);
}

void TallixAgent::endTimedEvent(const Value& eventName, const Value& parameters) {
  const std::string* name =
      requireString(eventName, "Tallix: Event not logged -- eventName must be of NSString type.");
  if (!name)
    return;
  impl_.async([name = *name, parameters](TallixSession& session) {
    session.endTimedEvent(name, parameters);
  });
}

std::shared_ptr<TallixCrashCapture> TallixAgent::runCrashCapture() const {
  std::lock_guard lock(mutex_);
  return crashCapture_;
}

std::optional<Value::Bytes> TallixAgent::liveCrashReport() const {
  const auto crashCapture = runCrashCapture();
  if (!storage_.settings().crashReportingEnabled || !crashCapture)
    return std::nullopt;
  std::string error;
  auto report = crashCapture->generateLiveReport(error);
  if (!report)
    TallixLog::debug("TallixSession: Failed to generate crash report: %s", error.c_str());
  return report;
}

void TallixAgent::recordError(const Value& errorId, const Value& message,
                              std::function<void(TallixSession&, const std::string&,
                                                 const std::string&, std::optional<Value::Bytes>)>
                                  record) {
  const std::string* id =
      requireString(errorId, "Tallix: Error not logged -- errorId must be of NSString type.");
  const std::string* text =
      id ? requireString(message, "Tallix: Error not logged -- message must be of NSString type.")
         : nullptr;
  if (!id || !text)
    return;
  bool show;
  {
    std::lock_guard lock(mutex_);
    show = showErrorInLog_;
  }
  if (show)
    TallixLog::refusal("Tallix: Error logged id[%s] message[%s]", id->c_str(), text->c_str());
  impl_.async([id = *id, text = *text, report = liveCrashReport(), record = std::move(record)](
                  TallixSession& session) { record(session, id, text, report); });
}

void TallixAgent::logError(const Value& errorId, const Value& message,
                           std::exception_ptr exception) {
  recordError(
      errorId, message,
      [exception = TallixExceptionHandler::describe(exception)](
          TallixSession& session, const std::string& id, const std::string& text, auto report) {
        session.recordErrorWithException(id, text, exception, std::move(report));
      });
}

void TallixAgent::logError(const Value& errorId, const Value& message,
                           const std::error_code& error) {
  recordError(
      errorId, message,
      [error](TallixSession& session, const std::string& id, const std::string& text, auto report) {
        session.recordErrorWithError(id, text, error, std::move(report));
      });
}

void TallixAgent::setUserID(const std::string& userID) {
  storage_.update([&](TallixSettings& settings) { settings.userID = userID; });
  impl_.async([userID](TallixSession& session) { session.setUserID(userID); });
  TallixLog::debug("Tallix: setUserID[%s]", userID.c_str());
}

void TallixAgent::setGender(const Value& gender) {
  const std::string* text =
      requireString(gender, "Tallix: setGender failed -- gender must be of NSString type.");
  if (!text)
    return;
  storage_.update([&](TallixSettings& settings) { settings.gender = *text; });
  impl_.async([gender = *text](TallixSession& session) { session.setGenderAsString(gender); });
  TallixLog::debug("Tallix: setGender[%s]", text->c_str());
}

void TallixAgent::setAge(int age) {
  storage_.update([age](TallixSettings& settings) { settings.age = age; });
  impl_.async([age](TallixSession& session) { session.setAgeInYears(age); });
}

void TallixAgent::setLatitude(double latitude, double longitude, double horizontalAccuracy,
                              double verticalAccuracy) {
  storage_.update([&](TallixSettings& settings) {
    settings.location = TallixSettings::Location{latitude, longitude, horizontalAccuracy};
  });
  impl_.async([=](TallixSession& session) {
    session.setLatitude(latitude, longitude, horizontalAccuracy, verticalAccuracy);
  });
}

void TallixAgent::addSessionOrigin(const Value& name, const Value& deepLink) {
  const std::string* origin = requireString(
      name, "Tallix: Session Origin not added -- Session Origin Name must be of NSString type.");
  if (!origin)
    return;
  const std::string* link =
      deepLink.isNull()
          ? nullptr
          : requireString(deepLink,
                          "Tallix: deepLink not added -- Session deepLink Name must be of NSString "
                          "type.");
  storage_.update([&](TallixSettings& settings) {
    settings.sessionOriginName = *origin;
    if (link)
      settings.deepLinkName = *link;
  });
}

void TallixAgent::addOrigin(const Value& name, const Value& version, const Value& parameters) {
  const std::string* origin =
      requireString(name, "Tallix: Origin not added -- originName must be of NSString type.");
  const std::string* originVersion =
      origin ? requireString(version,
                             "Tallix: Origin not added -- originVersion must be of NSString type.")
             : nullptr;
  if (origin && originVersion)
    storage_.recordOrigin(*origin, *originVersion, parameters);
}

void TallixAgent::sessionProperties(const Value& properties) {
  storage_.recordSessionProperties(properties);
}

}  // namespace tallix
