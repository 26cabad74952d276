#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/pulse/Connection.h"
#include "platform/pulse/LatestAnswer.h"

namespace platform::pulse {

// Follows the default sink's volume through the server's events, tells observers when it
// changes, and sets it. Everything but current() and set() runs on the loop's thread.
class VolumeTracker : public Connection::Client {
 public:
  // `volume` is the object of the change notifications.
  VolumeTracker(Connection& connection, const void* volume)
      : connection_(connection), volume_(volume) {}

  // 0 to 1; 0 while there is no server or no sink, or the sink is muted.
  float current() { return answer_.current(); }
  // From any thread: scales the default sink to `fraction` of its normal level.
  void set(float fraction);

 private:
  static void sinkFound(pa_context* context, const pa_sink_info* sink, int eol, void* self);
  static void changeSettled(pa_context* context, int success, void*);

  void serverReady(pa_context* context) override;
  void serverLost(const std::string& why) override;
  pa_subscription_mask_t subscriptions() const override;
  void serverEvent(pa_context* context, pa_subscription_event_type_t type, uint32_t index) override;

  void ask(pa_context* context);
  void apply(pa_context* context, const pa_sink_info& sink);
  void publish(float fraction, uint32_t sinkIndex = PA_INVALID_INDEX);

  Connection& connection_;
  const void* volume_;
  LatestAnswer<float> answer_;
  uint32_t sinkIndex_ = PA_INVALID_INDEX;
  // What set() asked for, applied to the next description of the default sink: scaling needs
  // the sink's current channel volumes, and only the server knows them for sure.
  std::optional<float> wanted_;
};

}  // namespace platform::pulse
