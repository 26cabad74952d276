#include "platform/pulse/VolumeSetter.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "foundation/Console.h"
#include "platform/pulse/Pulse.h"

namespace platform::pulse {

void VolumeSetter::set(float fraction) {
  if (std::isnan(fraction))
    return;  // a broken slider value: keeping the level beats silencing the desktop
  const auto lock = connection_.lock();
  wanted_ = std::clamp(fraction, 0.0f, 1.0f);
  // Without a server yet (just after start-up, say) the next connection applies it.
  if (pa_context* context = connection_.readyContext())
    ask(context);
  else
    connection_.hurry();
}

void VolumeSetter::sinkFound(pa_context* context, const pa_sink_info* sink, int eol, void* self) {
  auto& setter = *static_cast<VolumeSetter*>(self);
  if (sink && setter.wanted_)
    setter.apply(context, *sink);
  else if (eol < 0)
    setter.giveUp("the sound server has no output");
}

void VolumeSetter::changeSettled(pa_context* context, int success, void*) {
  if (!success)
    foundation::Console::line("Cannot set the output volume: " + errorText(context));
}

void VolumeSetter::serverReady(pa_context* context) {
  if (wanted_)
    ask(context);
}

void VolumeSetter::serverLost(const std::string& why) {
  giveUp("cannot reach the sound server (" + why + ")");
}

void VolumeSetter::ask(pa_context* context) {
  forget(pa_context_get_sink_info_by_name(context, "@DEFAULT_SINK@", &sinkFound, this));
}

// Scaling keeps the balance between channels.
void VolumeSetter::apply(pa_context* context, const pa_sink_info& sink) {
  const float fraction = *std::exchange(wanted_, std::nullopt);
  pa_cvolume volume = sink.volume;
  pa_cvolume_scale(&volume, static_cast<pa_volume_t>(std::lround(fraction * PA_VOLUME_NORM)));
  forget(
      pa_context_set_sink_volume_by_index(context, sink.index, &volume, &changeSettled, nullptr));
  if (fraction > 0 && sink.mute)
    forget(pa_context_set_sink_mute_by_index(context, sink.index, 0, &changeSettled, nullptr));
}

void VolumeSetter::giveUp(const std::string& why) {
  if (std::exchange(wanted_, std::nullopt))
    foundation::Console::line("Cannot set the output volume: " + why);
}

}  // namespace platform::pulse
