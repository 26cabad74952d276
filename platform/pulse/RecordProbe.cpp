#include "platform/pulse/RecordProbe.h"

#include <utility>

#include "platform/pulse/Pulse.h"

namespace platform::pulse {
namespace {

constexpr pa_usec_t kAnswerLimit = 3 * PA_USEC_PER_SEC;

}  // namespace

RecordProbe::RecordProbe(pa_mainloop_api* api, Listener& listener)
    : api_(api), listener_(listener) {
  const timeval limit = after(kAnswerLimit);
  deadline_ = api_->time_new(api_, &limit, &deadlinePassed, this);
}

RecordProbe::~RecordProbe() {
  endLookup();
  closeStream();
  api_->time_free(deadline_);
}

void RecordProbe::start(pa_context* context) {
  context_ = context;
  lookup_ = pa_context_get_source_info_by_name(context, "@DEFAULT_SOURCE@", &sourceFound, this);
  if (!lookup_)
    settle(false, "the sound server could not be asked (" + errorText(context) + ")");
}

void RecordProbe::sourceFound(pa_context*, const pa_source_info* source, int eol, void* self) {
  auto& probe = *static_cast<RecordProbe*>(self);
  if (!source && eol == 0)
    return;
  // Cancelling spares us the end-of-list call that follows an entry.
  probe.endLookup();
  if (source)
    probe.check(*source);
  else if (eol > 0 || pa_context_errno(probe.context_) == PA_ERR_NOENTITY)
    probe.settle(false, "the sound server has no capture source");
  else
    probe.settle(false, "the sound server would not describe its capture source (" +
                            errorText(probe.context_) + ")");
}

void RecordProbe::streamStateChanged(pa_stream* stream, void* self) {
  auto& probe = *static_cast<RecordProbe*>(self);
  const auto state = pa_stream_get_state(stream);
  if (state == PA_STREAM_READY)
    probe.settle(true, {});
  else if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED)
    probe.refuseStream();
}

void RecordProbe::deadlinePassed(pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
  static_cast<RecordProbe*>(self)->settle(false, "the sound server did not answer within 3 s");
}

// A stream still being created cannot be disconnected yet; it closes itself once it can.
void RecordProbe::closeWhenSettled(pa_stream* stream, void*) {
  switch (pa_stream_get_state(stream)) {
    case PA_STREAM_READY:
      pa_stream_disconnect(stream);
      return;
    case PA_STREAM_CREATING:
      return;
    default:
      pa_stream_set_state_callback(stream, nullptr, nullptr);
      pa_stream_unref(stream);
  }
}

void RecordProbe::check(const pa_source_info& source) {
  sourceName_ = source.name;
  if (source.monitor_of_sink != PA_INVALID_INDEX)
    return settle(false,
                  "the default capture source \"" + sourceName_ + "\" only monitors an output");
  openStream();
}

// Corked: the check needs the stream to be created, not its audio, and corking keeps the
// desktop's microphone-in-use indicator quiet.
void RecordProbe::openStream() {
  const pa_sample_spec format{PA_SAMPLE_S16LE, 16000, 1};
  stream_ = pa_stream_new(context_, "Orvane microphone check", &format, nullptr);
  if (!stream_)
    return refuseStream();
  pa_stream_set_state_callback(stream_, &streamStateChanged, this);
  const auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_START_CORKED | PA_STREAM_DONT_MOVE);
  if (pa_stream_connect_record(stream_, sourceName_.c_str(), nullptr, flags) < 0)
    refuseStream();
}

void RecordProbe::refuseStream() {
  settle(false, "the sound server refused to record from \"" + sourceName_ + "\" (" +
                    errorText(context_) + ")");
}

void RecordProbe::endLookup() {
  if (!lookup_)
    return;
  pa_operation_cancel(lookup_);
  pa_operation_unref(lookup_);
  lookup_ = nullptr;
}

void RecordProbe::closeStream() {
  if (!stream_)
    return;
  pa_stream_set_state_callback(stream_, &closeWhenSettled, nullptr);
  closeWhenSettled(std::exchange(stream_, nullptr), nullptr);
}

void RecordProbe::settle(bool granted, std::string why) {
  listener_.taskSettled(*this, granted, std::move(why));
}

}  // namespace platform::pulse
