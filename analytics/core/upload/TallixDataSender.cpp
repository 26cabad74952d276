#include "analytics/core/upload/TallixDataSender.h"

#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixClock.h"
#include "analytics/core/support/TallixLog.h"
#include "analytics/core/upload/TallixResponseParser.h"
#include "tallix/TallixApplication.h"

namespace tallix {

TallixDataSender::TallixDataSender(Executor onQueue, ServerURLSource serverURL,
                                   std::unique_ptr<TallixHttpTransport> transport,
                                   TallixGlobalVariableStorage& settings, const TallixClock& clock)
    : TallixDataSenderBase(std::move(onQueue), std::move(serverURL), std::move(transport)),
      settings_(settings),
      clock_(clock) {}

void TallixDataSender::setupForApiKey(const std::filesystem::path& directory,
                                      const std::string& apiKey) {
  dataIndex_ = TallixDataSenderIndex::instantiatedIndex(directory,
                                                        TallixDataSenderIndex::dataKeyFor(apiKey));
}

bool TallixDataSender::sendSessionsData(const Bytes& body) {
  if (!dataIndex_) {
    if (!inExtension())
      TallixLog::debug("%s: Unable to send session data", "-[TallixDataSender sendSessionsData:]");
    return false;
  }
  const auto identifier = storeData(body);
  if (!identifier)
    return false;
  if (!hasOngoingTasksWindow() || !sendData(body, *identifier))
    TallixLog::debug("TallixDataSender: block [%s] stored, to be sent later", identifier->c_str());
  if (runningTaskCount() == 0)
    didCompleteAllTasks();  // nothing in flight: the store limit can hold now
  return true;
}

std::optional<std::string> TallixDataSender::storeData(const Bytes& data) {
  return dataIndex_ ? dataIndex_->storeData(data, clock_.now()) : std::nullopt;
}

void TallixDataSender::removeStoredDataWithIdentifier(const std::string& identifier) {
  if (dataIndex_)
    dataIndex_->removeStoredDataWithIdentifier(identifier);
}

bool TallixDataSender::everSentReportSuccessfully() const {
  return dataIndex_ && dataIndex_->everSentReportSuccessfully();
}

std::size_t TallixDataSender::storedBlockCount() const {
  return dataIndex_ ? dataIndex_->notSentBlocks().size() : 0;
}

void TallixDataSender::retransmitNotSentBlocks() {
  if (!dataIndex_)
    return;
  // What was stored before the user opted out must not leave afterwards.
  if (settings_.hasUserOptedOut())
    return discardStoredBlocks();
  if (isInBackground()) {
    TallixLog::debug("Tallix: application is in background, skipping sending data.");
    return;
  }
  for (const auto& block : dataIndex_->notSentBlocks()) {
    if (!hasOngoingTasksWindow())
      return;
    if (isSending(block->identifier()))
      continue;
    const auto data = dataIndex_->dataOf(*block);
    // Left listed: the index forgets blocks whose files are gone when it is next loaded.
    if (!data) {
      TallixLog::debug("TallixDataSender: block [%s] unreadable, skipped",
                       block->identifier().c_str());
      continue;
    }
    if (!sendData(*data, block->identifier()))
      return;
  }
}

void TallixDataSender::handleSuccess(const std::string& identifier,
                                     const TallixHTTPResponse& response) {
  TallixLog::debug("TallixSession: async http response code: %d, id [%s]",
                   static_cast<int>(response.statusCode()), identifier.c_str());
  if (!dataIndex_)
    return;
  dataIndex_->setSentReportSuccessfully();
  dataIndex_->removeStoredDataWithIdentifier(identifier);
  auto& cookies = settings_.persistentCookiesMap();
  if (TallixResponseParser::parseResponse(response.body(), cookies))
    cookies.save();
}

void TallixDataSender::handleFailure(const std::string&, const TallixHttpError& error) {
  TallixLog::debug("TallixSession: Could not connect to server: %s", error.message.c_str());
}

void TallixDataSender::didCompleteAllTasks() {
  if (dataIndex_)
    dataIndex_->discardOutdatedBlocks();
}

void TallixDataSender::discardStoredBlocks() {
  const auto blocks = dataIndex_->notSentBlocks();
  if (blocks.empty())
    return;
  TallixLog::debug("Tallix: user opted out, %lu stored report(s) discarded",
                   static_cast<unsigned long>(blocks.size()));
  for (const auto& block : blocks)
    if (!isSending(block->identifier()))
      dataIndex_->removeStoredDataWithIdentifier(block->identifier());
}

bool TallixDataSender::isInBackground() const {
  return settings_.settings().appApplicationState == static_cast<int>(ApplicationState::Background);
}

}  // namespace tallix
