#pragma once

#include <pulse/introspect.h>

#include "platform/AudioSession.h"

namespace platform::pulse {

// The output a sink stands for, named as a person would name it (see RouteNaming.h).
AudioSessionPortDescription describeOutput(const pa_sink_info& sink);

}  // namespace platform::pulse
