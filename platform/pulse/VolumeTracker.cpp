#include "platform/pulse/VolumeTracker.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "foundation/Console.h"
#include "foundation/NotificationCenter.h"
#include "platform/SystemVolume.h"
#include "platform/pulse/Pulse.h"

namespace platform::pulse {
namespace {

// The loudest channel is what a person hears as the level; amplification past the sink's normal
// level reads as full.
float fractionOf(const pa_sink_info& sink) {
  if (sink.mute)
    return 0;
  const float level = static_cast<float>(pa_cvolume_max(&sink.volume)) / PA_VOLUME_NORM;
  return std::min(level, 1.0f);
}

}  // namespace

void VolumeTracker::set(float fraction) {
  if (std::isnan(fraction))
    return;  // a broken slider value: keeping the level beats silencing the desktop
  const auto lock = connection_.lock();
  wanted_ = std::clamp(fraction, 0.0f, 1.0f);
  // Without a server yet (just after start-up, say) the next attempt's first answer applies it.
  if (pa_context* context = connection_.readyContext())
    ask(context);
  else
    connection_.hurry();
}

void VolumeTracker::sinkFound(pa_context* context, const pa_sink_info* sink, int eol, void* self) {
  auto& tracker = *static_cast<VolumeTracker*>(self);
  if (sink) {
    if (tracker.wanted_)
      tracker.apply(context, *sink);
    tracker.publish(fractionOf(*sink), sink->index);
  } else if (eol < 0) {
    if (std::exchange(tracker.wanted_, std::nullopt))
      foundation::Console::line("Cannot set the output volume: the sound server has no output");
    tracker.publish(0);
  }
}

void VolumeTracker::changeSettled(pa_context* context, int success, void*) {
  if (!success)
    foundation::Console::line("Cannot set the output volume: " + errorText(context));
}

void VolumeTracker::serverReady(pa_context* context) {
  ask(context);
}

void VolumeTracker::serverLost(const std::string& why) {
  if (std::exchange(wanted_, std::nullopt))
    foundation::Console::line("Cannot set the output volume: cannot reach the sound server (" +
                              why + ")");
  publish(0);
}

// A new default sink is a server change; a volume or mute change is a change of that sink.
pa_subscription_mask_t VolumeTracker::subscriptions() const {
  return static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK |
                                             PA_SUBSCRIPTION_MASK_SERVER);
}

void VolumeTracker::serverEvent(pa_context* context, pa_subscription_event_type_t type,
                                uint32_t index) {
  const auto facility = type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
  if (facility == PA_SUBSCRIPTION_EVENT_SERVER ||
      (facility == PA_SUBSCRIPTION_EVENT_SINK && index == sinkIndex_))
    ask(context);
}

void VolumeTracker::ask(pa_context* context) {
  forget(pa_context_get_sink_info_by_name(context, "@DEFAULT_SINK@", &sinkFound, this));
}

// Scaling keeps the balance between channels. The events of the change bring the new level.
void VolumeTracker::apply(pa_context* context, const pa_sink_info& sink) {
  const float fraction = *std::exchange(wanted_, std::nullopt);
  pa_cvolume volume = sink.volume;
  pa_cvolume_scale(&volume, static_cast<pa_volume_t>(std::lround(fraction * PA_VOLUME_NORM)));
  forget(
      pa_context_set_sink_volume_by_index(context, sink.index, &volume, &changeSettled, nullptr));
  if (fraction > 0 && sink.mute)
    forget(pa_context_set_sink_mute_by_index(context, sink.index, 0, &changeSettled, nullptr));
}

void VolumeTracker::publish(float fraction, uint32_t sinkIndex) {
  sinkIndex_ = sinkIndex;
  if (answer_.store(fraction))
    foundation::NotificationCenter::defaultCenter().post(
        std::string(SystemVolume::kVolumeChangeNotification), volume_);
}

}  // namespace platform::pulse
