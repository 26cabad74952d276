#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "analytics/core/report/TallixDeviceDescription.h"
#include "foundation/Date.h"

namespace foundation {
class NotificationCenter;
}

namespace tallix {

class TallixClock;
class TallixGlobalVariableStorage;
class TallixNetworkUtil;

// What the agent hands its services when it starts. Everything referenced outlives them.
struct TallixAgentStart {
  std::string apiKey;
  // The agent keeps its files here.
  std::filesystem::path agentDirectory;
  TallixGlobalVariableStorage& storage;
  std::shared_ptr<TallixNetworkUtil> network;
  const TallixClock& clock;
  foundation::NotificationCenter& notificationCenter;
  TallixDeviceDescription device;
};

// A session's span as the services see it when it pauses or is found unfinished.
struct TallixSessionSpan {
  foundation::Date startTime;
  std::optional<foundation::Date> endTime;
  std::int64_t totalPauseMillis = 0;
};

// A part of the agent that starts with it and follows its sessions: reachability and the
// file cache start with the agent, the configuration check and the partner callbacks follow
// session starts, pauses and ends. The session calls come from the agent queue, the others
// from the facade's caller; a service does its own work on its own queue.
class TallixAgentService {
 public:
  virtual ~TallixAgentService() = default;
  virtual void agentDidStart(const TallixAgentStart& start) { (void)start; }
  virtual void sessionDidStart(const std::string& apiKey, const std::string& sessionId) {
    (void)apiKey;
    (void)sessionId;
  }
  virtual void sessionDidPause(const TallixSessionSpan& session) { (void)session; }
  // The previous run left a session that never ended.
  virtual void formerSessionFound(const TallixSessionSpan& session) { (void)session; }
  virtual void sessionDidEnd() {}
};

}  // namespace tallix
