#include "VirtualMicrophone.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace e2e {
namespace {

// Small enough that a recorder sees sound promptly; each write stays under PIPE_BUF, so it goes
// in whole or not at all.
constexpr std::chrono::milliseconds kChunk{10};

audio::testing::Signal withPause(audio::testing::Signal speech, double pauseSeconds) {
  speech.samples.resize(speech.samples.size() + std::size_t(pauseSeconds * speech.sampleRate));
  return speech;
}

std::int16_t pcm(float sample) {
  return std::int16_t(std::lround(std::clamp(sample, -1.0f, 1.0f) * 32767));
}

}  // namespace

std::string VirtualMicrophone::serverLine(const std::string& sourceName,
                                          const std::string& description,
                                          const std::filesystem::path& pipe, int sampleRate) {
  return "load-module module-pipe-source source_name=" + sourceName + " file=" + pipe.string() +
         " format=s16le channels=1 rate=" + std::to_string(sampleRate) +
         " source_properties=\"device.description='" + description + "'\"\n";
}

VirtualMicrophone::VirtualMicrophone(const std::filesystem::path& pipe,
                                     const audio::testing::Signal& speech, double pauseSeconds)
    : pipe_(::open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)),
      loop_(withPause(speech, pauseSeconds)) {
  if (pipe_ < 0)
    throw std::runtime_error("cannot feed the microphone " + pipe.string() + ": " +
                             std::strerror(errno));
  if (loop_.samples.empty() || loop_.sampleRate <= 0)
    throw std::invalid_argument("the microphone has nothing to hear");
  start_ = std::chrono::steady_clock::now();
  feeder_ = std::thread([this] { feed(); });
}

VirtualMicrophone::~VirtualMicrophone() {
  stopping_ = true;
  feeder_.join();
  ::close(pipe_);
}

// Chunks on a fixed grid from the start, so the pace does not drift with the time each write takes
// and the position in the loop follows from the time alone.
void VirtualMicrophone::feed() {
  std::vector<std::int16_t> chunk(chunkFrames());
  std::size_t position = 0;
  for (long written = 1; !stopping_; ++written) {
    for (auto& sample : chunk) {
      sample = pcm(loop_.samples[position]);
      position = (position + 1) % loop_.samples.size();
    }
    // A full pipe (nobody records) drops the chunk.
    [[maybe_unused]] auto result = ::write(pipe_, chunk.data(), chunk.size() * sizeof chunk[0]);
    std::this_thread::sleep_until(start_ + written * kChunk);
  }
}

std::size_t VirtualMicrophone::framesSinceStart(std::chrono::steady_clock::time_point time) const {
  const auto chunks = std::max<long>(0, (time - start_) / kChunk);
  return std::size_t(chunks) * chunkFrames();
}

std::size_t VirtualMicrophone::chunkFrames() const {
  return std::size_t(loop_.sampleRate * kChunk.count() / 1000);
}

std::chrono::steady_clock::time_point VirtualMicrophone::nextStartOfSpeech() const {
  using Seconds = std::chrono::duration<double>;
  const Seconds loop(double(loop_.samples.size()) / loop_.sampleRate);
  const double loops = std::floor(Seconds(std::chrono::steady_clock::now() - start_) / loop) + 1;
  return start_ + std::chrono::duration_cast<std::chrono::steady_clock::duration>(loop * loops);
}

audio::testing::Signal VirtualMicrophone::heardBetween(
    std::chrono::steady_clock::time_point from, std::chrono::steady_clock::time_point to) const {
  audio::testing::Signal heard{{}, loop_.sampleRate};
  for (auto frame = framesSinceStart(from); frame < framesSinceStart(to); ++frame)
    heard.samples.push_back(loop_.samples[frame % loop_.samples.size()]);
  return heard;
}

}  // namespace e2e
