#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/AudioSession.h"
#include "platform/InputList.h"
#include "platform/RouteList.h"
#include "platform/pulse/Connection.h"
#include "platform/pulse/LatestAnswer.h"

namespace platform::pulse {

// Follows the server's devices through its events: the list of sinks with their ports, the
// default one as the current route and its volume, and the list of sources that are not
// monitors. Each of the four has its own change notification, posted when it differs from what
// it was, the server's first answer included. Everything but the readers runs on the loop's
// thread.
class DeviceDirectory : public Connection::Client {
 public:
  // The objects of the four notifications.
  struct Objects {
    const void* session;  // the route change
    const void* volume;   // the volume change
    const void* routes;   // the change of the list of outputs
    const void* inputs;   // the change of the list of inputs
  };

  explicit DeviceDirectory(Objects objects) : objects_(objects) {}

  // No sinks while there is no server.
  std::vector<RouteListEntry> routes() const { return routes_.current(); }
  // No sources while there is no server, nor any but monitors.
  std::vector<RouteListEntry> inputs() const { return inputs_.current(); }
  // No outputs while there is no server or no default sink.
  AudioSessionRouteDescription route() const { return route_.current(); }
  // 0 to 1; 0 while there is no default sink, or it is muted.
  float volume() const { return volume_.current(); }

 private:
  // What one listing of the server found.
  struct Listing {
    std::vector<RouteListEntry> routes;
    std::vector<RouteListEntry> inputs;
    AudioSessionRouteDescription route;
    std::string routeIdentity;  // the default sink and its port: its volume is no new route
    float volume = 0;
  };

  static void serverFound(pa_context* context, const pa_server_info* server, void* self);
  static void sinkFound(pa_context* context, const pa_sink_info* sink, int eol, void* self);
  static void sourceFound(pa_context* context, const pa_source_info* source, int eol, void* self);

  void serverReady(pa_context* context) override;
  void serverLost(const std::string& why) override;
  pa_subscription_mask_t subscriptions() const override;
  void serverEvent(pa_context* context, pa_subscription_event_type_t type, uint32_t index) override;

  void list(pa_context* context);
  void add(const pa_sink_info& sink);
  void listed(pa_context* context, Listing listing);
  void publish(Listing listing);

  const Objects objects_;
  LatestAnswer<std::vector<RouteListEntry>> routes_;
  LatestAnswer<std::vector<RouteListEntry>> inputs_;
  LatestAnswer<AudioSessionRouteDescription, std::string> route_;
  LatestAnswer<float> volume_;
  // One listing at a time: events arrive in bursts (a new sink brings its card, its default
  // and its ports, and its monitor source), and each listing already sees everything before it.
  bool listing_ = false;
  bool listAgain_ = false;
  std::string defaultSink_;
  std::string defaultSource_;
  Listing found_;
};

}  // namespace platform::pulse
