#pragma once

#include "foundation/Value.h"

namespace tallix {

// Takes finished report bodies: stores each and uploads it when it can. Called on the agent
// queue.
class TallixDataSending {
 public:
  virtual ~TallixDataSending() = default;
  // False when the body could not be stored: the caller keeps what it was made from.
  virtual bool sendSessionsData(const foundation::Value::Bytes& body) = 0;
  // Whether the server has ever taken a report, which every body tells it.
  virtual bool everSentReportSuccessfully() const = 0;
};

}  // namespace tallix
