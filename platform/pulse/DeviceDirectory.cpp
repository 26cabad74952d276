#include "platform/pulse/DeviceDirectory.h"

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

// Sinks and sources describe themselves alike (pa_sink_info, pa_source_info), ports included.
template <typename Device>
SinkFacts factsOf(const Device& device) {
  SinkFacts facts{device.name, text(device.description), device.card != PA_INVALID_INDEX,
                  text(pa_proplist_gets(device.proplist, PA_PROP_DEVICE_BUS)), std::nullopt};
  if (const auto* port = device.active_port)
    facts.activePort = SinkFacts::Port{text(port->name), text(port->description),
                                       port->type == PA_DEVICE_PORT_TYPE_SPEAKER};
  return facts;
}

template <typename Device>
RouteListEntry entryFor(const Device& device, const std::string& defaultName) {
  RouteListEntry entry{device.name,
                       text(device.description),
                       portNameForSink(factsOf(device)),
                       {},
                       device.active_port ? text(device.active_port->name) : "",
                       defaultName == device.name};
  for (uint32_t port = 0; port < device.n_ports; ++port) {
    const auto& info = *device.ports[port];
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

// The defaults' names first, so each device can be marked as it arrives; then the sinks, then
// the sources.
void DeviceDirectory::serverFound(pa_context* context, const pa_server_info* server, void* self) {
  auto& directory = *static_cast<DeviceDirectory*>(self);
  if (!server)
    return directory.listed(context, {});
  directory.defaultSink_ = text(server->default_sink_name);
  directory.defaultSource_ = text(server->default_source_name);
  forget(pa_context_get_sink_info_list(context, &sinkFound, self));
}

void DeviceDirectory::sinkFound(pa_context* context, const pa_sink_info* sink, int eol,
                                void* self) {
  auto& directory = *static_cast<DeviceDirectory*>(self);
  if (sink)
    directory.add(*sink);
  else if (eol > 0)
    forget(pa_context_get_source_info_list(context, &sourceFound, self));
  else if (eol < 0)  // a stale list could offer outputs that are gone
    directory.listed(context, {});
}

// A monitor records what an output plays: no microphone a person would choose.
void DeviceDirectory::sourceFound(pa_context* context, const pa_source_info* source, int eol,
                                  void* self) {
  auto& directory = *static_cast<DeviceDirectory*>(self);
  if (source && source->monitor_of_sink == PA_INVALID_INDEX)
    directory.found_.inputs.push_back(entryFor(*source, directory.defaultSource_));
  else if (!source && eol > 0)
    directory.listed(context, std::exchange(directory.found_, {}));
  else if (!source && eol < 0)
    directory.listed(context, {});
}

void DeviceDirectory::serverReady(pa_context* context) {
  list(context);
}

// The listing in flight went with the context; the next server starts afresh.
void DeviceDirectory::serverLost(const std::string&) {
  listing_ = listAgain_ = false;
  found_ = {};
  publish({});
}

// A new default is a server change; ports come and go with cards: a plugged headphone changes
// its card, not its sink.
pa_subscription_mask_t DeviceDirectory::subscriptions() const {
  return static_cast<pa_subscription_mask_t>(
      PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SERVER |
      PA_SUBSCRIPTION_MASK_CARD);
}

void DeviceDirectory::serverEvent(pa_context* context, pa_subscription_event_type_t, uint32_t) {
  list(context);
}

void DeviceDirectory::list(pa_context* context) {
  if (std::exchange(listing_, true)) {
    listAgain_ = true;
    return;
  }
  found_ = {};
  forget(pa_context_get_server_info(context, &serverFound, this));
}

void DeviceDirectory::add(const pa_sink_info& sink) {
  found_.routes.push_back(entryFor(sink, defaultSink_));
  if (!found_.routes.back().isDefault)
    return;
  found_.route = {{{found_.routes.back().portName, sink.name}}};
  found_.routeIdentity = std::string(sink.name) + '\n' + found_.routes.back().activePort;
  found_.volume = fractionOf(sink);
}

void DeviceDirectory::listed(pa_context* context, Listing listing) {
  listing_ = false;
  publish(std::move(listing));
  if (std::exchange(listAgain_, false))
    list(context);
}

// Everything is stored before anything is posted, so an observer of one change reads the
// others as the same listing found them.
void DeviceDirectory::publish(Listing listing) {
  const bool volumeChanged = volume_.store(listing.volume);
  const bool routeChanged =
      route_.store(std::move(listing.route), std::move(listing.routeIdentity));
  const bool routesChanged = routes_.store(std::move(listing.routes));
  const bool inputsChanged = inputs_.store(std::move(listing.inputs));
  if (volumeChanged)
    post(SystemVolume::kVolumeChangeNotification, objects_.volume);
  if (routeChanged)
    post(AudioSession::kRouteChangeNotification, objects_.session);
  if (routesChanged)
    post(RouteList::kRoutesChangedNotification, objects_.routes);
  if (inputsChanged)
    post(InputList::kInputsChangedNotification, objects_.inputs);
}

}  // namespace platform::pulse
