#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tallix {

// The application's state as the agent counts it.
enum class ApplicationState { Active = 0, Inactive = 1, Background = 2 };

// What an application posts on the default notification centre as its state changes; the
// agent pauses, resumes, starts and ends sessions on them. The did-finish-launching
// notification may carry the launch options as its user info.
inline constexpr const char* kApplicationDidFinishLaunchingNotification =
    "ApplicationDidFinishLaunchingNotification";
inline constexpr const char* kApplicationWillResignActiveNotification =
    "ApplicationWillResignActiveNotification";
inline constexpr const char* kApplicationWillEnterForegroundNotification =
    "ApplicationWillEnterForegroundNotification";
inline constexpr const char* kApplicationDidBecomeActiveNotification =
    "ApplicationDidBecomeActiveNotification";
inline constexpr const char* kApplicationWillTerminateNotification =
    "ApplicationWillTerminateNotification";

// The screen the application shows on, in pixels; zero when it has none.
struct ScreenSize {
  int width = 0;
  int height = 0;
};

// The embedding application as the agent sees it. A program that sets none is taken to be a
// command-line program: always active, named after its executable.
class TallixApplication {
 public:
  virtual ~TallixApplication() = default;
  virtual ApplicationState applicationState() const = 0;
  // A reverse-domain name such as "org.orvane.Orvane"; identifiers are derived per application.
  virtual std::string bundleIdentifier() const = 0;
  // The version reported unless setAppVersion gives another.
  virtual std::string bundleVersion() const = 0;
  // Where the application keeps its data; the agent keeps its files in a folder inside.
  virtual std::filesystem::path dataDirectory() const = 0;
  // Asked when the agent starts and again each time a session record is written, on the
  // agent's queue: the screen may have turned since. Must be safe to call from any thread.
  virtual ScreenSize screenSize() const { return {}; }
  // A value the application ships with under `key` (its information dictionary, such as
  // "Tallix Watch API Key"); nothing when it has none.
  virtual std::optional<std::string> infoDictionaryValue(const std::string& /*key*/) const {
    return std::nullopt;
  }
  // True in a companion process that runs as the application's extension: it logs through
  // TallixWatch into sessions of its own, and the main facade's logging calls are refused.
  virtual bool isWatchExtension() const { return false; }
};

}  // namespace tallix
