#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "analytics/core/net/TallixNetworkUtil.h"
#include "analytics/core/ports/TallixAgentService.h"
#include "analytics/core/upload/TallixDataSender.h"

namespace tallix {

// Delivers the agent's reports: the uploader, the network's state and the server's address.
// The network is followed from the agent's start; until a server is set, reports stay stored.
// The agent's start also opens the file cache of its key.
class TallixUploadService : public TallixAgentService {
 public:
  TallixUploadService(TallixDataSender::Executor onQueue, TallixGlobalVariableStorage& settings,
                      const TallixClock& clock, foundation::NotificationCenter& center);
  // An uploader of its own for another queue of the same agent, such as an extension's,
  // sending to the agent's server.
  TallixUploadService(TallixDataSender::Executor onQueue, TallixGlobalVariableStorage& settings,
                      const TallixClock& clock, foundation::NotificationCenter& center,
                      std::shared_ptr<TallixNetworkUtil> network);

  std::shared_ptr<TallixDataSender> dataSender() const { return dataSender_; }
  // Shared: queued uploads and report writers may ask for it after this service is gone.
  std::shared_ptr<TallixNetworkUtil> network() const { return network_; }

  void agentDidStart(const TallixAgentStart& start) override;
  // Waits, at most the limit, until no upload is running; false when the limit was reached.
  bool waitUntilDelivered(std::chrono::milliseconds limit);

 private:
  const TallixDataSender::Executor onQueue_;
  const std::shared_ptr<TallixNetworkUtil> network_;
  const std::shared_ptr<TallixDataSender> dataSender_;
};

}  // namespace tallix
