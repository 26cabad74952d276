#include "platform/pulse/SinkDirectory.h"

#include <utility>

#include "foundation/NotificationCenter.h"
#include "platform/pulse/Pulse.h"
#include "platform/pulse/SinkOutput.h"

namespace platform::pulse {
namespace {

std::string text(const char* value) {
  return value ? value : "";
}

RouteListEntry entryFor(const pa_sink_info& sink, const std::string& defaultSink) {
  RouteListEntry entry{sink.name,
                       text(sink.description),
                       describeOutput(sink).portName,
                       {},
                       sink.active_port ? text(sink.active_port->name) : "",
                       defaultSink == sink.name};
  for (uint32_t port = 0; port < sink.n_ports; ++port) {
    const pa_sink_port_info& info = *sink.ports[port];
    // Unknown counts as available: most drivers cannot tell.
    entry.ports.push_back(
        {text(info.name), text(info.description), info.available != PA_PORT_AVAILABLE_NO});
  }
  return entry;
}

}  // namespace

// The default's name first, so each sink can be marked as it arrives.
void SinkDirectory::serverFound(pa_context* context, const pa_server_info* server, void* self) {
  auto& directory = *static_cast<SinkDirectory*>(self);
  if (!server)
    return directory.listed(context, {});
  directory.defaultSink_ = text(server->default_sink_name);
  forget(pa_context_get_sink_info_list(context, &sinkFound, self));
}

void SinkDirectory::sinkFound(pa_context* context, const pa_sink_info* sink, int eol, void* self) {
  auto& directory = *static_cast<SinkDirectory*>(self);
  if (sink)
    directory.found_.push_back(entryFor(*sink, directory.defaultSink_));
  else if (eol > 0)
    directory.listed(context, std::exchange(directory.found_, {}));
  else if (eol < 0)  // a stale list could offer outputs that are gone
    directory.listed(context, {});
}

void SinkDirectory::serverReady(pa_context* context) {
  list(context);
}

// The listing in flight went with the context; the next server starts afresh.
void SinkDirectory::serverLost(const std::string&) {
  listing_ = listAgain_ = false;
  found_.clear();
  publish({});
}

// Ports come and go with cards: a plugged headphone changes its card, not its sink.
pa_subscription_mask_t SinkDirectory::subscriptions() const {
  return static_cast<pa_subscription_mask_t>(
      PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_CARD);
}

void SinkDirectory::serverEvent(pa_context* context, pa_subscription_event_type_t, uint32_t) {
  list(context);
}

void SinkDirectory::list(pa_context* context) {
  if (std::exchange(listing_, true)) {
    listAgain_ = true;
    return;
  }
  found_.clear();
  forget(pa_context_get_server_info(context, &serverFound, this));
}

void SinkDirectory::listed(pa_context* context, std::vector<RouteListEntry> routes) {
  listing_ = false;
  publish(std::move(routes));
  if (std::exchange(listAgain_, false))
    list(context);
}

void SinkDirectory::publish(std::vector<RouteListEntry> routes) {
  if (answer_.store(std::move(routes)))
    foundation::NotificationCenter::defaultCenter().post(
        std::string(RouteList::kRoutesChangedNotification), list_);
}

}  // namespace platform::pulse
