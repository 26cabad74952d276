#include "platform/pulse/Pulse.h"

namespace platform::pulse {

timeval after(pa_usec_t delay) {
  timeval when;
  pa_gettimeofday(&when);
  return *pa_timeval_add(&when, delay);
}

std::string errorText(pa_context* context) {
  return pa_strerror(pa_context_errno(context));
}

void forget(pa_operation* operation) {
  if (operation)
    pa_operation_unref(operation);
}

}  // namespace platform::pulse
