#include "platform/AudioSessionConnection.h"

#include <utility>

#include "foundation/Console.h"
#include "platform/pulse/RecordProbe.h"

namespace platform {

AudioSession::Connection::Connection(std::string address, const void* session)
    : server_(std::move(address)),
      routes_(session),
      permissions_(server_, "the audio session closed before the sound server answered") {
  server_.start({&routes_, &permissions_});
}

// The clients must not hear from the server's thread while they are destroyed.
AudioSession::Connection::~Connection() {
  server_.stop();
}

void AudioSession::Connection::requestRecordPermission(
    std::function<void(bool granted)> completion) {
  const auto makeProbe = [](pa_mainloop_api* api, pulse::ServerTask::Listener& listener) {
    return std::make_unique<pulse::RecordProbe>(api, listener);
  };
  permissions_.request(makeProbe,
                       [completion = std::move(completion)](bool granted, const std::string& why) {
                         if (!granted)
                           foundation::Console::line("No microphone: " + why);
                         completion(granted);
                       });
}

}  // namespace platform
