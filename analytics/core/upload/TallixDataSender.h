#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "analytics/core/ports/TallixDataSending.h"
#include "analytics/core/upload/TallixDataSenderBase.h"
#include "analytics/core/upload/TallixDataSenderIndex.h"

namespace tallix {

class TallixClock;
class TallixGlobalVariableStorage;

// Uploads session reports: each record becomes a request body, stored as a block before it
// is posted, and removed only once the server has taken it. Blocks left over from failures,
// or from earlier runs, go again after every success and when the network comes back.
// Runs on the agent queue.
class TallixDataSender final : public TallixDataSenderBase, public TallixDataSending {
 public:
  TallixDataSender(Executor onQueue, ServerURLSource serverURL,
                   TallixGlobalVariableStorage& settings, const TallixClock& clock);

  // Loads the directory's index for the key; before the first session is sent.
  void setupForApiKey(const std::filesystem::path& directory, const std::string& apiKey);

  void setDataSenderDelegate(std::weak_ptr<TallixDataSenderDelegate> delegate) override;
  bool sendSessionsData(const Bytes& record) override;

  // The new block's identifier, or nothing when it could not be stored.
  std::optional<std::string> storeData(const Bytes& data);
  void removeStoredDataWithIdentifier(const std::string& identifier);
  bool everSentReportSuccessfully() const;
  std::size_t storedBlockCount() const;
  void retransmitNotSentBlocks() override;

 private:
  void handleSuccess(const std::string& identifier, const TallixHTTPResponse& response) override;
  void handleFailure(const std::string& identifier, const TallixHttpError& error) override;
  void didCompleteAllTasks() override;
  bool isInBackground() const;

  TallixGlobalVariableStorage& settings_;
  const TallixClock& clock_;
  std::unique_ptr<TallixDataSenderIndex> dataIndex_;
  std::weak_ptr<TallixDataSenderDelegate> dataSenderDelegate_;
};

}  // namespace tallix
