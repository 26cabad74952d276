#include "platform/AudioSession.h"

#include <utility>

#include "foundation/Console.h"
#include "platform/ServerLink.h"
#include "platform/pulse/RecordProbe.h"

namespace platform {

void AudioSession::setCategory(AudioSessionCategory category) {
  category_ = category;
}

AudioSessionCategory AudioSession::category() const {
  return category_;
}

std::string AudioSession::mediaRole() const {
  return category_ == AudioSessionCategory::PlayAndRecord ? "phone" : "music";
}

void AudioSession::requestRecordPermission(std::function<void(bool granted)> completion) {
  const auto makeProbe = [](pa_mainloop_api* api, pulse::ServerTask::Listener& listener) {
    return std::make_unique<pulse::RecordProbe>(api, listener);
  };
  link_.permissions().request(
      makeProbe, [completion = std::move(completion)](bool granted, const std::string& why) {
        if (!granted)
          foundation::Console::line("No microphone: " + why);
        completion(granted);
      });
}

AudioSessionRouteDescription AudioSession::currentRoute() const {
  return link_.devices().route();
}

}  // namespace platform
