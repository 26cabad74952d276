#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>

#include "platform/pulse/Connection.h"
#include "platform/pulse/RecordProbe.h"

namespace platform::pulse {

// The open record-permission requests, each answered exactly once by its own probe.
class PermissionDesk : public Connection::Client, private RecordProbe::Listener {
 public:
  using Completion = std::function<void(bool granted)>;

  explicit PermissionDesk(Connection& connection) : connection_(connection) {}
  // Refuses whatever is still open, on the destroying thread; the loop must have stopped.
  ~PermissionDesk();
  PermissionDesk(const PermissionDesk&) = delete;
  PermissionDesk& operator=(const PermissionDesk&) = delete;

  // From any thread. The completion runs on the loop's thread, never inside this call.
  void request(Completion completion);

 private:
  struct Request {
    std::unique_ptr<RecordProbe> probe;
    Completion completion;
  };

  static void requestArrived(pa_mainloop_api*, void* self);
  static void answer(Request request, bool granted, const std::string& why);

  void serverReady(pa_context* context) override;
  void serverLost(const std::string& why) override;
  void probeSettled(RecordProbe& probe, bool granted, std::string why) override;
  void refuseAll(const std::string& why);

  Connection& connection_;
  std::list<Request> requests_;
};

}  // namespace platform::pulse
