#include "audio/GStreamer.h"

#include <map>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <utility>

#if ORVANE_HAVE_RUBBERBAND
#include "audio/RubberBandPitch.h"
#endif

namespace audio {
namespace {

// Where Debian keeps the plugins of the elements we use.
std::string_view packageOf(std::string_view factory) {
  static const std::map<std::string_view, std::string_view> packages = {
      {"concat", "libgstreamer1.0-0"},
      {"capsfilter", "libgstreamer1.0-0"},
      {"filesrc", "libgstreamer1.0-0"},
      {"filesink", "libgstreamer1.0-0"},
      {"decodebin", "gstreamer1.0-plugins-base"},
      {"audioconvert", "gstreamer1.0-plugins-base"},
      {"audioresample", "gstreamer1.0-plugins-base"},
      {"level", "gstreamer1.0-plugins-good"},
      {"qtdemux", "gstreamer1.0-plugins-good"},
      {"mp4mux", "gstreamer1.0-plugins-good"},
      {"pitch", "gstreamer1.0-plugins-bad"},
      {"avenc_aac", "gstreamer1.0-libav"},
      {"avdec_aac", "gstreamer1.0-libav"},
      {"pulsesrc", "gstreamer1.0-pulseaudio"},
      {"pulsesink", "gstreamer1.0-pulseaudio"}};
  const auto found = packages.find(factory);
  return found == packages.end() ? std::string_view() : found->second;
}

}  // namespace

void ensureGStreamer() {
  static std::once_flag once;
  std::call_once(once, [] {
    gst_init(nullptr, nullptr);
#if ORVANE_HAVE_RUBBERBAND
    registerRubberBandPitch();
#endif
  });
}

GstElement* makeBinFromDescription(const std::string& description, std::string& error) {
  ensureGStreamer();
  GError* parseError = nullptr;
  GstElement* bin = gst_parse_bin_from_description_full(description.c_str(), TRUE, nullptr,
                                                        GST_PARSE_FLAG_FATAL_ERRORS, &parseError);
  if (parseError) {
    error = parseError->message;
    g_error_free(parseError);
    if (bin)
      gst_object_unref(bin);
    return nullptr;
  }
  return bin;
}

GstElement* makeElement(const char* factory, const char* name) {
  ensureGStreamer();
  GstElement* element = gst_element_factory_make(factory, name);
  if (!element) {
    throw std::runtime_error(std::string("GStreamer element \"") + factory + "\" is not installed");
  }
  return element;
}

void requireElements(std::initializer_list<const char*> factories) {
  ensureGStreamer();
  std::string missing;
  for (const char* factory : factories) {
    GstElementFactory* found = gst_element_factory_find(factory);
    if (found) {
      gst_object_unref(found);
      continue;
    }
    missing += (missing.empty() ? "\"" : ", \"") + std::string(factory) + '"';
    if (const auto package = packageOf(factory); !package.empty())
      missing += " (" + std::string(package) + ')';
  }
  if (!missing.empty())
    throw std::runtime_error("GStreamer elements are missing: " + missing);
}

void forEachElementWith(GstElement* bin, const char* property,
                        const std::function<void(GstElement*)>& apply) {
  GstIterator* elements = gst_bin_iterate_recurse(GST_BIN(bin));
  using Context = std::pair<const char*, const std::function<void(GstElement*)>*>;
  auto visit = [](const GValue* item, gpointer context) {
    const auto& [name, work] = *static_cast<Context*>(context);
    auto* element = GST_ELEMENT(g_value_get_object(item));
    if (g_object_class_find_property(G_OBJECT_GET_CLASS(element), name))
      (*work)(element);
  };
  Context context{property, &apply};
  gst_iterator_foreach(elements, visit, &context);
  gst_iterator_free(elements);
}

void applyStreamProperties(GstElement* bin, const std::string& mediaRole) {
  forEachElementWith(bin, "stream-properties", [&](GstElement* element) {
    GstStructure* properties =
        gst_structure_new("props", "media.role", G_TYPE_STRING, mediaRole.c_str(),
                          "application.name", G_TYPE_STRING, "Orvane", nullptr);
    g_object_set(element, "stream-properties", properties, nullptr);
    gst_structure_free(properties);
  });
}

void applyCaptureDevice(GstElement* bin, const std::string& device) {
  forEachElementWith(bin, "device", [&](GstElement* element) {
    g_object_set(element, "device", device.empty() ? nullptr : device.c_str(), nullptr);
  });
}

}  // namespace audio
