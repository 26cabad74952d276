#include "audio/MediaDiscoverer.h"

#include <gst/pbutils/pbutils.h>

#include "audio/GStreamer.h"

namespace audio {
namespace {

constexpr GstClockTime kDiscoveryLimit = 3 * GST_SECOND;
// The frame size of AAC-LC, which is also the priming the common encoders insert.
constexpr int kAacEncoderDelayFrames = 1024;

bool isAac(GstDiscovererStreamInfo* stream) {
  GstCaps* caps = gst_discoverer_stream_info_get_caps(stream);
  if (!caps)
    return false;
  const GstStructure* structure = gst_caps_get_structure(caps, 0);
  int version = 0;
  bool aac = gst_structure_has_name(structure, "audio/mpeg") &&
             gst_structure_get_int(structure, "mpegversion", &version) &&
             (version == 2 || version == 4);
  gst_caps_unref(caps);
  return aac;
}

MediaInfo describe(GstDiscovererInfo* info, GstDiscovererAudioInfo* audio) {
  MediaInfo media;
  media.sampleRate = static_cast<int>(gst_discoverer_audio_info_get_sample_rate(audio));
  media.channels = static_cast<int>(gst_discoverer_audio_info_get_channels(audio));
  media.isAac = isAac(GST_DISCOVERER_STREAM_INFO(audio));
  if (media.isAac)
    media.encoderDelayFrames = kAacEncoderDelayFrames;
  double total = static_cast<double>(gst_discoverer_info_get_duration(info)) / GST_SECOND;
  double priming = media.sampleRate > 0 ? double(media.encoderDelayFrames) / media.sampleRate : 0;
  media.durationSeconds = total > priming ? total - priming : 0;
  return media;
}

}  // namespace

std::optional<MediaInfo> MediaDiscoverer::discover(const std::filesystem::path& path) {
  std::error_code error;
  if (path.empty() || !std::filesystem::is_regular_file(path, error))
    return std::nullopt;
  ensureGStreamer();
  GstDiscoverer* discoverer = gst_discoverer_new(kDiscoveryLimit, nullptr);
  if (!discoverer)
    return std::nullopt;
  gchar* uri = gst_filename_to_uri(path.c_str(), nullptr);
  GstDiscovererInfo* info = gst_discoverer_discover_uri(discoverer, uri, nullptr);
  g_free(uri);
  std::optional<MediaInfo> media;
  if (info && gst_discoverer_info_get_result(info) == GST_DISCOVERER_OK) {
    GList* streams = gst_discoverer_info_get_audio_streams(info);
    if (streams)
      media = describe(info, GST_DISCOVERER_AUDIO_INFO(streams->data));
    gst_discoverer_stream_info_list_free(streams);
  }
  if (info)
    gst_discoverer_info_unref(info);
  gst_object_unref(discoverer);
  return media;
}

}  // namespace audio
