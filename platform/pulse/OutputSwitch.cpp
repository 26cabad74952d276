#include "platform/pulse/OutputSwitch.h"

#include <utility>

#include "platform/pulse/Pulse.h"

namespace platform::pulse {
namespace {

constexpr pa_usec_t kAnswerLimit = 3 * PA_USEC_PER_SEC;

}  // namespace

OutputSwitch::OutputSwitch(pa_mainloop_api* api, Listener& listener, std::string sink,
                           std::string port)
    : api_(api), listener_(listener), sink_(std::move(sink)), port_(std::move(port)) {
  const timeval limit = after(kAnswerLimit);
  deadline_ = api_->time_new(api_, &limit, &deadlinePassed, this);
}

OutputSwitch::~OutputSwitch() {
  for (pa_operation* operation : operations_) {
    if (pa_operation_get_state(operation) == PA_OPERATION_RUNNING)
      pa_operation_cancel(operation);
    pa_operation_unref(operation);
  }
  api_->time_free(deadline_);
}

void OutputSwitch::start(pa_context* context) {
  context_ = context;
  track(pa_context_set_default_sink(context, sink_.c_str(), &defaultSet, this));
}

void OutputSwitch::defaultSet(pa_context* context, int success, void* self) {
  auto& change = *static_cast<OutputSwitch*>(self);
  if (!success)
    return change.settle(false, "the sound server would not make it the default output (" +
                                    errorText(context) + ")");
  if (change.port_.empty())
    change.moveStreams();
  else
    change.setPort();
}

void OutputSwitch::portSet(pa_context* context, int success, void* self) {
  auto& change = *static_cast<OutputSwitch*>(self);
  if (!success)
    return change.settle(false, "the sound server would not switch it to port \"" + change.port_ +
                                    "\" (" + errorText(context) + ")");
  change.moveStreams();
}

void OutputSwitch::streamFound(pa_context* context, const pa_sink_input_info* stream, int eol,
                               void* self) {
  auto& change = *static_cast<OutputSwitch*>(self);
  if (stream) {
    // By the sink's name: its index would cost another question.
    ++change.moving_;
    change.track(pa_context_move_sink_input_by_name(context, stream->index, change.sink_.c_str(),
                                                    &streamMoved, self));
  } else if (eol < 0) {
    change.settle(
        false, "the sound server would not list the playing streams (" + errorText(context) + ")");
  } else {
    change.listed_ = true;
    change.finishIfMoved();
  }
}

void OutputSwitch::streamMoved(pa_context* context, int success, void* self) {
  auto& change = *static_cast<OutputSwitch*>(self);
  --change.moving_;
  // A stream that ended since the listing needs no move.
  if (!success && pa_context_errno(context) != PA_ERR_NOENTITY)
    return change.settle(
        false, "the sound server would not move a playing stream (" + errorText(context) + ")");
  change.finishIfMoved();
}

void OutputSwitch::deadlinePassed(pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
  static_cast<OutputSwitch*>(self)->settle(false, "the sound server did not answer within 3 s");
}

void OutputSwitch::setPort() {
  track(pa_context_set_sink_port_by_name(context_, sink_.c_str(), port_.c_str(), &portSet, this));
}

void OutputSwitch::moveStreams() {
  track(pa_context_get_sink_input_info_list(context_, &streamFound, this));
}

void OutputSwitch::finishIfMoved() {
  if (listed_ && moving_ == 0)
    settle(true, {});
}

// Settles, and so may end the switch, when the server cannot even be asked.
void OutputSwitch::track(pa_operation* operation) {
  if (!operation)
    return settle(false, "the sound server could not be asked (" + errorText(context_) + ")");
  operations_.push_back(operation);
}

void OutputSwitch::settle(bool accepted, std::string why) {
  listener_.taskSettled(*this, accepted, std::move(why));
}

}  // namespace platform::pulse
