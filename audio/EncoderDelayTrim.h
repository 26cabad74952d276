#pragma once

#include <gst/gst.h>

#include <cstdint>

namespace audio {

// Drops an encoder's priming frames from the start of a decoded stream and moves the stream's
// timestamps back by as much, so that files joined one after the other play without a pause.
class EncoderDelayTrim {
 public:
  // `pad` carries interleaved raw audio of `bytesPerFrame` at `sampleRate`.
  static void install(GstPad* pad, std::uint64_t frames, int bytesPerFrame, int sampleRate);
};

}  // namespace audio
