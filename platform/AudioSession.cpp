#include "platform/AudioSession.h"

#include <utility>

#include "foundation/NotificationCenter.h"
#include "platform/AudioSessionConnection.h"

namespace platform {

AudioSession& AudioSession::sharedInstance() {
  // The session posts into the notification centre until it is destroyed at exit; creating
  // the centre first makes it outlive the session.
  foundation::NotificationCenter::defaultCenter();
  static AudioSession session;
  return session;
}

AudioSession::AudioSession(std::string serverAddress)
    : connection_(std::make_unique<Connection>(std::move(serverAddress), this)) {}

AudioSession::~AudioSession() = default;

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
  connection_->requestRecordPermission(std::move(completion));
}

AudioSessionRouteDescription AudioSession::currentRoute() const {
  return connection_->route();
}

}  // namespace platform
