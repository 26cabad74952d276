#pragma once

#include "foundation/Value.h"

namespace tallix {

// What the server answered: its status and body. A transfer that never got an answer has
// status 0.
class TallixHTTPResponse {
 public:
  TallixHTTPResponse() = default;
  TallixHTTPResponse(long statusCode, foundation::Value::Bytes body);

  long statusCode() const { return statusCode_; }
  const foundation::Value::Bytes& body() const { return body_; }

  // 200 to 399: redirections count as answers, unlike for the task's own success.
  bool isSuccess() const;
  bool isError() const { return !isSuccess(); }

 private:
  long statusCode_ = 0;
  foundation::Value::Bytes body_;
};

}  // namespace tallix
