#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "analytics/core/ports/TallixDataSending.h"
#include "analytics/core/upload/TallixDataSenderBase.h"
#include "analytics/core/upload/TallixDataSenderIndex.h"

namespace tallix {

class TallixClock;
class TallixGlobalVariableStorage;

// Uploads report bodies: each is stored as a block before it is posted, and removed only once
// the server has taken it. Blocks left over from failures, or from earlier runs, go again after
// every success and when the network comes back, unless the user has opted out since.
// Runs on the agent queue.
class TallixDataSender final : public TallixDataSenderBase, public TallixDataSending {
 public:
  TallixDataSender(Executor onQueue, ServerURLSource serverURL,
                   std::unique_ptr<TallixHttpTransport> transport,
                   TallixGlobalVariableStorage& settings, const TallixClock& clock);

  // Loads the directory's index for the key; before the first session is sent.
  void setupForApiKey(const std::filesystem::path& directory, const std::string& apiKey);

  bool sendSessionsData(const Bytes& body) override;
  bool everSentReportSuccessfully() const override;

  // The new block's identifier, or nothing when it could not be stored.
  std::optional<std::string> storeData(const Bytes& data);
  void removeStoredDataWithIdentifier(const std::string& identifier);
  std::size_t storedBlockCount() const;
  void retransmitNotSentBlocks() override;

 private:
  void handleSuccess(const std::string& identifier, const TallixHTTPResponse& response) override;
  void handleFailure(const std::string& identifier, const TallixHttpError& error) override;
  void didCompleteAllTasks() override;
  bool isInBackground() const;
  void discardStoredBlocks();

  TallixGlobalVariableStorage& settings_;
  const TallixClock& clock_;
  std::unique_ptr<TallixDataSenderIndex> dataIndex_;
};

}  // namespace tallix
