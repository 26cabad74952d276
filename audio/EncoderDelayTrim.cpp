#include "audio/EncoderDelayTrim.h"

#include <gst/audio/audio.h>

namespace audio {
namespace {

struct TrimState {
  std::uint64_t remainingFrames;
  GstClockTime shift;
  int bytesPerFrame;
};

GstBuffer* shiftedBack(GstBuffer* buffer, GstClockTime shift) {
  buffer = gst_buffer_make_writable(buffer);
  if (GST_BUFFER_PTS_IS_VALID(buffer)) {
    GstClockTime pts = GST_BUFFER_PTS(buffer);
    GST_BUFFER_PTS(buffer) = pts > shift ? pts - shift : 0;
  }
  return buffer;
}

GstPadProbeReturn trimBuffer(GstPad*, GstPadProbeInfo* info, gpointer data) {
  auto* state = static_cast<TrimState*>(data);
  GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(info);
  std::uint64_t frames = gst_buffer_get_size(buffer) / state->bytesPerFrame;
  if (state->remainingFrames >= frames) {
    state->remainingFrames -= frames;
    return frames == 0 ? GST_PAD_PROBE_OK : GST_PAD_PROBE_DROP;
  }
  if (state->remainingFrames > 0) {
    buffer = gst_audio_buffer_truncate(buffer, state->bytesPerFrame, state->remainingFrames, -1);
    state->remainingFrames = 0;
  }
  GST_PAD_PROBE_INFO_DATA(info) = shiftedBack(buffer, state->shift);
  return GST_PAD_PROBE_OK;
}

}  // namespace

void EncoderDelayTrim::install(GstPad* pad, std::uint64_t frames, int bytesPerFrame,
                               int sampleRate) {
  if (frames == 0)
    return;
  auto* state =
      new TrimState{frames, gst_util_uint64_scale(frames, GST_SECOND, sampleRate), bytesPerFrame};
  gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, trimBuffer, state,
                    [](gpointer data) { delete static_cast<TrimState*>(data); });
}

}  // namespace audio
