#pragma once

#include <exception>
#include <memory>
#include <string>
#include <system_error>

#include "tallix/EventRecordResult.h"
#include "tallix/TallixApplication.h"
#include "tallix/TallixDelegate.h"
#include "tallix/TallixPageViewTarget.h"
#include "tallix/TallixValue.h"

namespace tallix {

// The application's one way into the analytics agent. Every method may be called from any
// thread, never throws and never waits for disk or network: session work runs on the agent's
// own queue. While the user has opted out, calls are refused. Names, messages and dictionaries
// are dynamic values, so a caller passing the wrong kind is told so instead of recorded.
class Tallix {
 public:
  Tallix() = delete;

  // Before startSession: what the agent should know of the application. Without one, the
  // program counts as a command-line program that is always active.
  static void setApplication(std::shared_ptr<TallixApplication> application);
  // Starts the agent with the project's key; only the first call of a process counts.
  static void startSession(const std::string& apiKey);
  static void startSession(const std::string& apiKey, const TallixValue& launchOptions);

  static void setAppVersion(const std::string& version);
  static void setSessionContinueSeconds(int seconds);
  static int sessionContinueSeconds();
  static void setMaxSessionsSaved(int maximum);
  static void setLogLevel(int level);
  static void setDebugLogEnabled(bool enabled);
  static void setShowErrorInLogEnabled(bool enabled);

  static EventRecordResult logEvent(const TallixValue& eventName,
                                    const TallixValue& parameters = {}, bool timed = false);
  static EventRecordResult logEvent(const TallixValue& eventName, bool timed);
  static void endTimedEvent(const TallixValue& eventName, const TallixValue& parameters = {});
  // The exception may be null; from a catch block, pass std::current_exception().
  static void logError(const TallixValue& errorId, const TallixValue& message,
                       std::exception_ptr exception);
  static void logError(const TallixValue& errorId, const TallixValue& message,
                       const std::error_code& error);

  static void setUserID(const std::string& userID);
  static void setGender(const TallixValue& gender);
  static void setAge(int age);
  static void setLatitude(double latitude, double longitude, double horizontalAccuracy,
                          double verticalAccuracy);

  static void setEventLoggingEnabled(bool enabled);
  static void setSessionReportsOnCloseEnabled(bool enabled);
  static void setSessionReportsOnPauseEnabled(bool enabled);
  static void setCrashReportingEnabled(bool enabled);
  static void setBackgroundSessionEnabled(bool enabled);

  static void addSessionOrigin(const TallixValue& name, const TallixValue& deepLink = {});
  static void addOrigin(const TallixValue& name, const TallixValue& version,
                        const TallixValue& parameters = {});
  static void sessionProperties(const TallixValue& properties);

  // Counts a page view whenever the target shows or selects a page, from a delegate of the
  // agent's in the target's slot that hands every call on to the application's delegate and
  // stays in front of any delegate set later. Targets that are neither navigation nor tab
  // bar targets are ignored.
  static void logAllPageViewsForTarget(const std::shared_ptr<TallixPageViewTarget>& target);
  // The older way: the agent's delegate is put in the slot once, never taken out again, and
  // a delegate the application sets later replaces it.
  static void logAllPageViews(const std::shared_ptr<TallixPageViewTarget>& target);
  // Gives the target back the application's delegate; nothing for a target never observed.
  static void stopLogPageViewsForTarget(const std::shared_ptr<TallixPageViewTarget>& target);
  // One page view, counted by hand; views closer than 0.3 s to the last count once.
  static void logPageView();

  static bool activeSessionExists();
  static std::string getSessionID();
  static std::string getTallixAgentVersion();
  static void setDelegate(std::weak_ptr<TallixDelegate> delegate);
  // Where reports go: "host" or "host:port", posted to its "/aas.do". Until one is set,
  // reports are kept on disk and not sent.
  static void setServerURL(const std::string& server);
  // On by default: https, or plain http when switched off.
  static void setSecureTransportEnabled(bool enabled);
  // Off by default. While on, the agent fetches its remote configuration at session starts
  // and fires the partner callbacks it lists when sessions end.
  static void setBeaconEnabled(bool enabled);
  // The configuration service's full http(s) URL, such as "https://host/sdk/v1/config".
  static void setBeaconServerURL(const std::string& url);

  static void pauseSession();
  static void pauseBackgroundSession();
  static void endSession();
  static void setTallixOptOut(bool optOut);
  static bool hasUserOptedOut();
  // Ends the session and stops the agent's timers; waits at most two seconds for the disk.
  static void shutdown();
};

}  // namespace tallix
