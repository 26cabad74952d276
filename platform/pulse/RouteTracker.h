#pragma once

#include <cstdint>
#include <string>

#include "platform/AudioSession.h"
#include "platform/pulse/Connection.h"
#include "platform/pulse/LatestAnswer.h"

namespace platform::pulse {

// Follows the default sink through the server's events and tells observers when the output
// changes. Everything but current() runs on the loop's thread.
class RouteTracker : public Connection::Client {
 public:
  // `session` is the object of the route-change notifications.
  explicit RouteTracker(const void* session) : session_(session) {}

  // No outputs while there is no server or the server has no sink.
  AudioSessionRouteDescription current() { return cache_.current(); }

 private:
  static void sinkFound(pa_context*, const pa_sink_info* sink, int eol, void* self);

  void serverReady(pa_context* context) override;
  void serverLost(const std::string& why) override;
  pa_subscription_mask_t subscriptions() const override;
  void serverEvent(pa_context* context, pa_subscription_event_type_t type, uint32_t index) override;

  void ask(pa_context* context);
  void clear();
  void publish(AudioSessionRouteDescription route, std::string identity,
               uint32_t sinkIndex = PA_INVALID_INDEX);

  const void* session_;
  LatestAnswer<AudioSessionRouteDescription, std::string> cache_;
  uint32_t sinkIndex_ = PA_INVALID_INDEX;
};

}  // namespace platform::pulse
