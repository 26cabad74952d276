#pragma once

#include <chrono>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>

#include "analytics/core/agent/TallixEnvironment.h"
#include "analytics/core/agent/TallixHeartBeater.h"
#include "analytics/core/agent/TallixImpl.h"
#include "analytics/core/agent/TallixUploadService.h"
#include "analytics/core/ports/TallixAgentService.h"
#include "analytics/core/report/TallixDeviceDescription.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "foundation/Value.h"
#include "tallix/EventRecordResult.h"
#include "tallix/TallixApplication.h"

namespace tallix {

class TallixApplicationStateObserver;
class TallixDataSending;
class TallixDelegate;
class TallixSessionReporter;

// One analytics agent: its settings, its current session and the lifecycle that follows the
// application's state. The facade's class methods work on one made with the standard
// services; tests make their own with a clock and a directory of their choosing. Arguments are
// checked here, on the caller's thread; session work goes to the agent queue.
class TallixAgent {
 public:
  explicit TallixAgent(TallixEnvironment environment = {});
  ~TallixAgent();
  TallixAgent(const TallixAgent&) = delete;
  TallixAgent& operator=(const TallixAgent&) = delete;

  void setApplication(std::shared_ptr<TallixApplication> application);
  void startSession(const std::string& apiKey);
  void startSession(const std::string& apiKey, const foundation::Value& launchOptions);
  void pauseSession();
  void pauseBackgroundSession();
  void endSession();
  void shutdown();

  void setAppVersion(const std::string& version);
  void setSessionContinueSeconds(int seconds);
  int sessionContinueSeconds() const;
  void setMaxSessionsSaved(int maximum);
  void setEventLoggingEnabled(bool enabled);
  void setSessionReportsOnCloseEnabled(bool enabled);
  void setSessionReportsOnPauseEnabled(bool enabled);
  void setCrashReportingEnabled(bool enabled);
  void setBackgroundSessionEnabled(bool enabled);
  void setTallixOptOut(bool optOut);
  bool hasUserOptedOut() const { return storage_.hasUserOptedOut(); }
  void setShowErrorInLogEnabled(bool enabled);
  // "host" or "host:port"; reports are posted to its "/aas.do". Until one is set they are kept.
  void setServerURL(const std::string& server);
  // On by default: https, or plain http when switched off.
  void setSecureTransportEnabled(bool enabled);
  void setBeaconEnabled(bool enabled);
  // A full http(s) URL; refused with a log line otherwise.
  void setBeaconServerURL(const std::string& url);
  void setDelegate(std::weak_ptr<TallixDelegate> delegate);

  EventRecordResult logEvent(const foundation::Value& eventName,
                             const foundation::Value& parameters, bool timed);
  void endTimedEvent(const foundation::Value& eventName, const foundation::Value& parameters);
  void logError(const foundation::Value& errorId, const foundation::Value& message,
                std::exception_ptr exception);
  void logError(const foundation::Value& errorId, const foundation::Value& message,
                const std::error_code& error);

  void setUserID(const std::string& userID);
  void setGender(const foundation::Value& gender);
  void setAge(int age);
  void setLatitude(double latitude, double longitude, double horizontalAccuracy,
                   double verticalAccuracy);
  void addSessionOrigin(const foundation::Value& name, const foundation::Value& deepLink = {});
  void addOrigin(const foundation::Value& name, const foundation::Value& version,
                 const foundation::Value& parameters = {});
  void sessionProperties(const foundation::Value& properties);

  void logPageView() { impl_.maybeIncrementPageView(); }
  // What the page-view delegates count through; it lives as long as this agent.
  TallixPageViewCounter& pageViewCounter() { return impl_; }

  bool activeSessionExists() const { return impl_.hasSession(); }
  std::string getSessionID() const { return impl_.sessionId(); }

  // The application's state changes, as its notifications deliver them.
  void applicationWillResignActive();
  void applicationWillEnterForeground();
  void applicationDidBecomeActive();
  void applicationWillTerminate();
  void didFinishLaunchingWithOptionsInBackground(const foundation::Value& launchOptions);

  // Waits, at most the limit, until queued session work has run and is on disk.
  bool waitUntilIdle(std::chrono::milliseconds limit) { return impl_.waitUntilIdle(limit); }

  // The application set, or the command-line program this process is.
  std::shared_ptr<TallixApplication> application() const;
  bool isWatchExtension() const { return application()->isWatchExtension(); }
  // For an extension's own sessions, which never start this agent's: takes the key the
  // extension ships with as the agent's, and returns what its facade builds on.
  TallixAgentStart startExtension(const std::string& apiKey);
  // A crash report of this moment for a logged error, when crash reporting runs; nothing
  // otherwise, or when it could not be made.
  std::optional<foundation::Value::Bytes> liveCrashReport() const;
  // A reporter like this agent's own, handing its bodies to another sender, such as the one
  // of an extension's queue.
  std::shared_ptr<TallixSessionReporter> makeReporter(const TallixDeviceDescription& device,
                                                      std::shared_ptr<TallixDataSending> sender);

 private:
  std::filesystem::path fileDirectory() const;
  // The key, its persistent maps and its first run; the application's version unless one
  // was set.
  void adoptApiKey(const std::string& apiKey, const std::filesystem::path& directory);
  void startupNetworkAndSendSession();
  void createAndSendSession();
  // Read once, when the agent starts.
  const TallixDeviceDescription& device(const std::filesystem::path& directory);
  // Made once, with the device's description, on the first session's start.
  std::shared_ptr<TallixSessionReporter> reporter(const std::filesystem::path& directory);
  void copySettingsIntoSession();
  void tellDelegate(const std::string& apiKey, const std::string& sessionId);
  std::shared_ptr<TallixCrashCapture> runCrashCapture() const;
  void recordError(const foundation::Value& errorId, const foundation::Value& message,
                   std::function<void(TallixSession&, const std::string&, const std::string&,
                                      std::optional<foundation::Value::Bytes>)>
                       record);
  void setApplicationState(ApplicationState state);

  TallixEnvironment environment_;
  foundation::NotificationCenter& center_;
  TallixGlobalVariableStorage storage_;
  mutable std::mutex mutex_;
  std::shared_ptr<TallixApplication> application_;
  std::weak_ptr<TallixDelegate> delegate_;
  bool showErrorInLog_ = false;
  std::once_flag deviceOnce_;
  TallixDeviceDescription device_;
  std::shared_ptr<TallixSessionReporter> reporter_;
  // The crash port once enabled at the start; switching crash reporting on later waits for
  // the next run, as the reporter is only made at a start.
  std::shared_ptr<TallixCrashCapture> crashCapture_;
  TallixImpl impl_;
  // After the queue's owner: gone first, so the network is no longer followed while the
  // queue finishes its work.
  std::unique_ptr<TallixUploadService> uploads_;
  TallixHeartBeater heartBeater_;
  // Last: gone first, so no notification reaches a half-destroyed agent.
  std::unique_ptr<TallixApplicationStateObserver> stateObserver_;
};

}  // namespace tallix
