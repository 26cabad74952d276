#pragma once

#include <memory>
#include <vector>

#include "audio/AudioFile.h"
#include "audio/AudioNode.h"

namespace audio {

// Plays a schedule of files one after the other, joined without a gap. Scheduled audio is held
// back until play(), so the engine can start its output first.
class AudioPlayerNode : public AudioNode {
 public:
  AudioPlayerNode();

  // Plays the file after everything scheduled before it.
  void scheduleFile(const std::shared_ptr<AudioFile>& file);
  void play();

  AudioFormat outputFormat(int bus) const override;

 private:
  GstElement* makeBranch(const AudioFile& file) const;

  GstElement* concat_;
  GstPad* output_;
  gulong blockProbe_;
};

}  // namespace audio
