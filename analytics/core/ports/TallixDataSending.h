#pragma once

#include "foundation/Value.h"

namespace tallix {

// Takes a finished session's report record: stores it and uploads it when it can. Until an
// uploader is wired in, sessions stay in the saved-sessions file.
class TallixDataSending {
 public:
  virtual ~TallixDataSending() = default;
  virtual void sendSessionsData(const foundation::Value::Bytes& record) = 0;
};

}  // namespace tallix
