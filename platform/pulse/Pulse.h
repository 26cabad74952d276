#pragma once

#include <pulse/pulseaudio.h>

#include <string>

namespace platform::pulse {

// The moment `delay` from now, as libpulse's time events take it.
timeval after(pa_usec_t delay);

// The context's last error, for a log line.
std::string errorText(pa_context* context);

// For requests whose answer, if any, comes through their callback.
void forget(pa_operation* operation);

}  // namespace platform::pulse
