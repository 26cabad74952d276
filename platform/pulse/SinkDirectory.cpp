#include "platform/pulse/SinkDirectory.h"

#include <algorithm>
#include <utility>

#include "foundation/NotificationCenter.h"
#include "platform/RouteNaming.h"
#include "platform/SystemVolume.h"
#include "platform/pulse/Pulse.h"

namespace platform::pulse {
namespace {

std::string text(const char* value) {
  return value ? value : "";
}

SinkFacts factsOf(const pa_sink_info& sink) {
  SinkFacts facts{sink.name, text(sink.description), sink.card != PA_INVALID_INDEX,
                  text(pa_proplist_gets(sink.proplist, PA_PROP_DEVICE_BUS)), std::nullopt};
  if (const pa_sink_port_info* port = sink.active_port)
    facts.activePort = SinkFacts::Port{text(port->name), text(port->description),
                                       port->type == PA_DEVICE_PORT_TYPE_SPEAKER};
  return facts;
}

RouteListEntry entryFor(const pa_sink_info& sink, const std::string& defaultSink) {
  RouteListEntry entry{sink.name,
                       text(sink.description),
                       portNameForSink(factsOf(sink)),
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

// The loudest channel is what a person hears as the level; amplification past the sink's normal
// level reads as full.
float fractionOf(const pa_sink_info& sink) {
  if (sink.mute)
    return 0;
  const float level = static_cast<float>(pa_cvolume_max(&sink.volume)) / PA_VOLUME_NORM;
  return std::min(level, 1.0f);
}

void post(std::string_view name, const void* object) {
  foundation::NotificationCenter::defaultCenter().post(std::string(name), object);
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
    directory.add(*sink);
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
  found_ = {};
  publish({});
}

// A new default is a server change; ports come and go with cards: a plugged headphone changes
// its card, not its sink.
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
  found_ = {};
  forget(pa_context_get_server_info(context, &serverFound, this));
}

void SinkDirectory::add(const pa_sink_info& sink) {
  found_.routes.push_back(entryFor(sink, defaultSink_));
  if (!found_.routes.back().isDefault)
    return;
  found_.route = {{{found_.routes.back().portName, sink.name}}};
  found_.routeIdentity = std::string(sink.name) + '\n' + found_.routes.back().activePort;
  found_.volume = fractionOf(sink);
}

void SinkDirectory::listed(pa_context* context, Listing listing) {
  listing_ = false;
  publish(std::move(listing));
  if (std::exchange(listAgain_, false))
    list(context);
}

// Everything is stored before anything is posted, so an observer of one change reads the
// others as the same listing found them.
void SinkDirectory::publish(Listing listing) {
  const bool volumeChanged = volume_.store(listing.volume);
  const bool routeChanged =
      route_.store(std::move(listing.route), std::move(listing.routeIdentity));
  const bool routesChanged = routes_.store(std::move(listing.routes));
  if (volumeChanged)
    post(SystemVolume::kVolumeChangeNotification, objects_.volume);
  if (routeChanged)
    post(AudioSession::kRouteChangeNotification, objects_.session);
  if (routesChanged)
    post(RouteList::kRoutesChangedNotification, objects_.routes);
}

}  // namespace platform::pulse
