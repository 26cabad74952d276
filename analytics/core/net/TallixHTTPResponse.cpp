#include "analytics/core/net/TallixHTTPResponse.h"

namespace tallix {

TallixHTTPResponse::TallixHTTPResponse(long statusCode, foundation::Value::Bytes body)
    : statusCode_(statusCode), body_(std::move(body)) {}

bool TallixHTTPResponse::isSuccess() const {
  // One unsigned comparison: codes below 200 wrap round to huge values.
  return static_cast<unsigned long>(statusCode_ - 200) < 200;
}

}  // namespace tallix
