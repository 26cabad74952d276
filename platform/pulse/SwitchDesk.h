#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>

#include "platform/pulse/Connection.h"
#include "platform/pulse/OutputSwitch.h"

namespace platform::pulse {

// The open choices of output, each answered exactly once by its own switch.
class SwitchDesk : public Connection::Client, private OutputSwitch::Listener {
 public:
  using Completion = std::function<void(bool accepted)>;

  explicit SwitchDesk(Connection& connection) : connection_(connection) {}
  // Refuses whatever is still open, on the destroying thread; the loop must have stopped.
  ~SwitchDesk();
  SwitchDesk(const SwitchDesk&) = delete;
  SwitchDesk& operator=(const SwitchDesk&) = delete;

  // From any thread. The completion, if any, runs on the loop's thread, never inside this call.
  void request(std::string sink, std::string port, Completion completion);

 private:
  struct Request {
    std::unique_ptr<OutputSwitch> change;
    Completion completion;
  };

  static void requestArrived(pa_mainloop_api*, void* self);
  static void answer(Request request, bool accepted, const std::string& why);

  void serverReady(pa_context* context) override;
  void serverLost(const std::string& why) override;
  void switchSettled(OutputSwitch& change, bool accepted, std::string why) override;
  void refuseAll(const std::string& why);

  Connection& connection_;
  std::list<Request> requests_;
};

}  // namespace platform::pulse
