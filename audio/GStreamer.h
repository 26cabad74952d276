#pragma once

#include <gst/gst.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>

namespace audio {

// Owning handles for GStreamer's reference-counted objects.
struct GstObjectUnref {
  void operator()(gpointer object) const { gst_object_unref(object); }
};
template <typename T>
using GstPtr = std::unique_ptr<T, GstObjectUnref>;

// GStreamer is initialised once per process, on first use, by whichever audio class needs it.
void ensureGStreamer();

// Parses a launch-line description ("pulsesrc", "audiotestsrc is-live=true ! queue") into a bin
// with ghost pads for its unlinked pads. Null, with the reason in `error`, when it cannot be made.
GstElement* makeBinFromDescription(const std::string& description, std::string& error);

// Makes an element of our own graph, which must exist: the plugins come with the installation.
GstElement* makeElement(const char* factory, const char* name = nullptr);

// Throws, naming every element of `factories` that is not installed and the Debian package that
// brings it, so a person can tell what to install.
void requireElements(std::initializer_list<const char*> factories);

// Calls `apply` with each element inside `bin` that has the property; elements of other kinds
// (a test source in place of the sound server's, say) are left alone.
void forEachElementWith(GstElement* bin, const char* property,
                        const std::function<void(GstElement*)>& apply);

// Sets "stream-properties" (media role, application name) on the sound-server elements inside
// `bin`; elements of other kinds are left alone.
void applyStreamProperties(GstElement* bin, const std::string& mediaRole);

// Points the sound-server sources inside `bin` at the named source; empty means the server's
// default. Takes effect when they next connect (from the null state).
void applyCaptureDevice(GstElement* bin, const std::string& device);

}  // namespace audio
