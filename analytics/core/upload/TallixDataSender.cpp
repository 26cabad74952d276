#include "analytics/core/upload/TallixDataSender.h"

#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixClock.h"
#include "analytics/core/support/TallixLog.h"
#include "analytics/core/upload/TallixResponseParser.h"
#include "tallix/TallixApplication.h"

namespace tallix {

TallixDataSender::TallixDataSender(Executor onQueue, ServerURLSource serverURL,
                                   TallixGlobalVariableStorage& settings, const TallixClock& clock)
    : TallixDataSenderBase(std::move(onQueue), std::move(serverURL)),
      settings_(settings),
      clock_(clock) {}

void TallixDataSender::setupForApiKey(const std::filesystem::path& directory,
                                      const std::string& apiKey) {
  dataIndex_ = TallixDataSenderIndex::instantiatedIndex(directory,
                                                        TallixDataSenderIndex::dataKeyFor(apiKey));
}

void TallixDataSender::setDataSenderDelegate(std::weak_ptr<TallixDataSenderDelegate> delegate) {
  dataSenderDelegate_ = std::move(delegate);
}

bool TallixDataSender::sendSessionsData(const Bytes& record) {
  const auto delegate = dataSenderDelegate_.lock();
  if (!delegate || !dataIndex_) {
    TallixLog::debug("%s: Unable to send session data", "-[TallixDataSender sendSessionsData:]");
    return false;
  }
  const auto body = delegate->prepareForSendingSessions({record}, everSentReportSuccessfully());
  if (!body)
    return false;
  const auto identifier = storeData(*body);
  if (!identifier)
    return false;
  if (!hasOngoingTasksWindow() || !sendData(*body, *identifier))
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
  TallixLog::debug("TallixSession: Could not connect to server: %s (%s %ld)", error.message.c_str(),
                   error.domain.c_str(), error.code);
}

void TallixDataSender::didCompleteAllTasks() {
  if (dataIndex_)
    dataIndex_->discardOutdatedBlocks();
}

bool TallixDataSender::isInBackground() const {
  return settings_.settings().appApplicationState == static_cast<int>(ApplicationState::Background);
}

}  // namespace tallix
