#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/RouteList.h"
#include "platform/pulse/Connection.h"
#include "platform/pulse/LatestAnswer.h"

namespace platform::pulse {

// Keeps the server's sinks, with their ports and which is the default, through the server's
// events, and tells observers when any of it changes. Everything but current() runs on the
// loop's thread.
class SinkDirectory : public Connection::Client {
 public:
  // `list` is the object of the change notifications.
  explicit SinkDirectory(const void* list) : list_(list) {}

  // No sinks while there is no server.
  std::vector<RouteListEntry> current() { return answer_.current(); }

 private:
  static void serverFound(pa_context* context, const pa_server_info* server, void* self);
  static void sinkFound(pa_context* context, const pa_sink_info* sink, int eol, void* self);

  void serverReady(pa_context* context) override;
  void serverLost(const std::string& why) override;
  pa_subscription_mask_t subscriptions() const override;
  void serverEvent(pa_context* context, pa_subscription_event_type_t type, uint32_t index) override;

  void list(pa_context* context);
  void listed(pa_context* context, std::vector<RouteListEntry> routes);
  void publish(std::vector<RouteListEntry> routes);

  const void* list_;
  LatestAnswer<std::vector<RouteListEntry>> answer_;
  // One listing at a time: events arrive in bursts (a new sink brings its card, its default
  // and its ports), and each listing already sees everything before it.
  bool listing_ = false;
  bool listAgain_ = false;
  std::string defaultSink_;
  std::vector<RouteListEntry> found_;
};

}  // namespace platform::pulse
