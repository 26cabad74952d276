#include "audio/ContinuousTimeline.h"

namespace audio {
namespace {

struct Timeline {
  GstSegment current;
  bool announced = false;
};

GstPadProbeReturn passSegment(GstPadProbeInfo* info, Timeline& timeline) {
  gst_event_copy_segment(GST_PAD_PROBE_INFO_EVENT(info), &timeline.current);
  if (timeline.announced)
    return GST_PAD_PROBE_DROP;
  timeline.announced = true;
  GstSegment whole;
  gst_segment_init(&whole, GST_FORMAT_TIME);
  gst_event_unref(GST_PAD_PROBE_INFO_EVENT(info));
  GST_PAD_PROBE_INFO_DATA(info) = gst_event_new_segment(&whole);
  return GST_PAD_PROBE_OK;
}

GstPadProbeReturn restamp(GstPadProbeInfo* info, const Timeline& timeline) {
  GstBuffer* buffer = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
  if (GST_BUFFER_PTS_IS_VALID(buffer)) {
    GST_BUFFER_PTS(buffer) =
        gst_segment_to_running_time(&timeline.current, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
  }
  GST_PAD_PROBE_INFO_DATA(info) = buffer;
  return GST_PAD_PROBE_OK;
}

GstPadProbeReturn onData(GstPad*, GstPadProbeInfo* info, gpointer data) {
  auto& timeline = *static_cast<Timeline*>(data);
  if (GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER)
    return restamp(info, timeline);
  if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_SEGMENT) {
    return passSegment(info, timeline);
  }
  return GST_PAD_PROBE_OK;
}

}  // namespace

void ContinuousTimeline::install(GstPad* pad) {
  auto* timeline = new Timeline;
  gst_segment_init(&timeline->current, GST_FORMAT_TIME);
  gst_pad_add_probe(
      pad, GstPadProbeType(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM), onData,
      timeline, [](gpointer data) { delete static_cast<Timeline*>(data); });
}

}  // namespace audio
