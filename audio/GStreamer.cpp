#include "audio/GStreamer.h"

#include <mutex>
#include <stdexcept>

namespace audio {

void ensureGStreamer() {
  static std::once_flag once;
  std::call_once(once, [] { gst_init(nullptr, nullptr); });
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

void applyStreamProperties(GstElement* bin, const std::string& mediaRole) {
  GstIterator* elements = gst_bin_iterate_recurse(GST_BIN(bin));
  auto apply = [](const GValue* item, gpointer role) {
    auto* element = GST_ELEMENT(g_value_get_object(item));
    if (!g_object_class_find_property(G_OBJECT_GET_CLASS(element), "stream-properties"))
      return;
    GstStructure* properties = gst_structure_new(
        "props", "media.role", G_TYPE_STRING, static_cast<const std::string*>(role)->c_str(),
        "application.name", G_TYPE_STRING, "Orvane", nullptr);
    g_object_set(element, "stream-properties", properties, nullptr);
    gst_structure_free(properties);
  };
  std::string role = mediaRole;
  gst_iterator_foreach(elements, apply, &role);
  gst_iterator_free(elements);
}

}  // namespace audio
