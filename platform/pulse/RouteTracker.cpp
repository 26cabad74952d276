#include "platform/pulse/RouteTracker.h"

#include <utility>

#include "foundation/NotificationCenter.h"
#include "platform/pulse/Pulse.h"
#include "platform/pulse/SinkOutput.h"

namespace platform::pulse {
namespace {

// What must differ for the route to have changed: the sink or its port, never its volume.
std::string routeIdentity(const pa_sink_info& sink) {
  return std::string(sink.name) + '\n' + (sink.active_port ? sink.active_port->name : "");
}

}  // namespace

void RouteTracker::sinkFound(pa_context*, const pa_sink_info* sink, int eol, void* self) {
  auto& tracker = *static_cast<RouteTracker*>(self);
  if (sink)
    tracker.publish({{describeOutput(*sink)}}, routeIdentity(*sink), sink->index);
  else if (eol < 0)
    tracker.clear();
}

void RouteTracker::serverReady(pa_context* context) {
  ask(context);
}

void RouteTracker::serverLost(const std::string&) {
  clear();
}

// A new default sink is a server change; a port or volume change is a change of that sink.
pa_subscription_mask_t RouteTracker::subscriptions() const {
  return static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK |
                                             PA_SUBSCRIPTION_MASK_SERVER);
}

void RouteTracker::serverEvent(pa_context* context, pa_subscription_event_type_t type,
                               uint32_t index) {
  const auto facility = type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
  if (facility == PA_SUBSCRIPTION_EVENT_SERVER ||
      (facility == PA_SUBSCRIPTION_EVENT_SINK && index == sinkIndex_))
    ask(context);
}

// The server resolves the name itself, PulseAudio and pipewire-pulse alike.
void RouteTracker::ask(pa_context* context) {
  forget(pa_context_get_sink_info_by_name(context, "@DEFAULT_SINK@", &sinkFound, this));
}

void RouteTracker::clear() {
  publish({}, {});
}

void RouteTracker::publish(AudioSessionRouteDescription route, std::string identity,
                           uint32_t sinkIndex) {
  sinkIndex_ = sinkIndex;
  if (cache_.store(std::move(route), std::move(identity)))
    foundation::NotificationCenter::defaultCenter().post(
        std::string(AudioSession::kRouteChangeNotification), session_);
}

}  // namespace platform::pulse
