#pragma once

#include <gst/gst.h>

namespace audio {

// Turns the segments of files played one after another into one stream that starts at zero:
// each buffer is stamped with its running time and only the first segment goes downstream.
// Elements after a player, such as the pitch shifter, reset on every new segment and would
// drop what they still hold of the file before.
class ContinuousTimeline {
 public:
  static void install(GstPad* pad);
};

}  // namespace audio
