#pragma once

#include <optional>
#include <string>

#include "platform/pulse/Connection.h"

namespace platform::pulse {

// Sets the default sink's volume. Only the latest wish counts: a dragged slider asks many times
// while one answer is under way. The sink directory follows the result through its events.
class VolumeSetter : public Connection::Client {
 public:
  explicit VolumeSetter(Connection& connection) : connection_(connection) {}

  // From any thread: scales the default sink to `fraction` of its normal level, unmuting it
  // when the fraction is above 0.
  void set(float fraction);

 private:
  static void sinkFound(pa_context* context, const pa_sink_info* sink, int eol, void* self);
  static void changeSettled(pa_context* context, int success, void*);

  void serverReady(pa_context* context) override;
  void serverLost(const std::string& why) override;

  void ask(pa_context* context);
  void apply(pa_context* context, const pa_sink_info& sink);
  void giveUp(const std::string& why);

  Connection& connection_;
  // What set() asked for, applied to the next description of the default sink: scaling needs
  // the sink's current channel volumes, and only the server knows them for sure.
  std::optional<float> wanted_;
};

}  // namespace platform::pulse
