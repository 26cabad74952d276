#include "analytics/core/agent/TallixUploadService.h"

#include <future>

#include "analytics/core/net/TallixHttpClient.h"
#include "analytics/core/support/TallixAgentVersion.h"
#include "analytics/core/upload/TallixFileCache.h"

namespace tallix {

TallixUploadService::TallixUploadService(TallixDataSender::Executor onQueue,
                                         TallixGlobalVariableStorage& settings,
                                         const TallixClock& clock,
                                         foundation::NotificationCenter& center)
    : TallixUploadService(std::move(onQueue), settings, clock, center,
                          std::make_shared<TallixNetworkUtil>(center, "")) {}

TallixUploadService::TallixUploadService(TallixDataSender::Executor onQueue,
                                         TallixGlobalVariableStorage& settings,
                                         const TallixClock& clock,
                                         foundation::NotificationCenter& center,
                                         std::shared_ptr<TallixNetworkUtil> network)
    : onQueue_(onQueue),
      network_(std::move(network)),
      dataSender_(std::make_shared<TallixDataSender>(
          onQueue, [network = network_] { return network->serverURL(); },
          std::make_unique<TallixHttpClient>(onQueue), settings, clock)) {
  dataSender_->observeNetworkStatus(center);
}

void TallixUploadService::agentDidStart(const TallixAgentStart& start) {
  const std::string& apiKey = start.apiKey;
  const std::filesystem::path& agentDirectory = start.agentDirectory;
  dataSender_->setInExtension(start.device.watchExtension);
  // Queued ahead of the first reachability news, which retransmits what earlier runs left.
  onQueue_([sender = dataSender_, apiKey, agentDirectory] {
    sender->setupForApiKey(agentDirectory, apiKey);
  });
  network_->initNetworkReachability();
  TallixFileCache::createInstanceWithApiKey(agentDirectory, apiKey,
                                            TallixAgentVersion::getAgentVersion());
}

bool TallixUploadService::waitUntilDelivered(std::chrono::milliseconds limit) {
  auto delivered = std::make_shared<std::promise<void>>();
  auto future = delivered->get_future();
  onQueue_([sender = dataSender_, delivered] {
    sender->notifyWhenIdle([delivered] { delivered->set_value(); });
  });
  return future.wait_for(limit) == std::future_status::ready;
}

}  // namespace tallix
