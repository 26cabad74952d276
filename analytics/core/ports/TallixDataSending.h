#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "foundation/Value.h"

namespace tallix {

// Wraps session records into a request body; the current session, which knows when it began.
class TallixDataSenderDelegate {
 public:
  using Bytes = foundation::Value::Bytes;

  virtual ~TallixDataSenderDelegate() = default;
  // Nothing when no body can be written for these records.
  virtual std::optional<Bytes> prepareForSendingSessions(const std::vector<Bytes>& records,
                                                         bool sentReportSuccessfully) = 0;
};

// Takes a finished session's report record: stores it and uploads it when it can. Without an
// uploader, sessions stay in the saved-sessions file. Called on the agent queue.
class TallixDataSending {
 public:
  virtual ~TallixDataSending() = default;
  virtual void setDataSenderDelegate(std::weak_ptr<TallixDataSenderDelegate> delegate) = 0;
  // False when the record could not be stored: the caller keeps it.
  virtual bool sendSessionsData(const foundation::Value::Bytes& record) = 0;
};

}  // namespace tallix
