#pragma once

namespace foundation {
class NotificationCenter;
}

namespace tallix {

class TallixAgent;

// Turns the application's state notifications into the agent's lifecycle calls, on the
// thread that posts them.
class TallixApplicationStateObserver {
 public:
  TallixApplicationStateObserver(foundation::NotificationCenter& center, TallixAgent& agent);
  ~TallixApplicationStateObserver();
  TallixApplicationStateObserver(const TallixApplicationStateObserver&) = delete;
  TallixApplicationStateObserver& operator=(const TallixApplicationStateObserver&) = delete;

  void observeStateChanges();
  // For an application started in the background: the session starts when it has launched.
  void observeDidFinishLaunching();

 private:
  foundation::NotificationCenter& center_;
  TallixAgent& agent_;
};

}  // namespace tallix
