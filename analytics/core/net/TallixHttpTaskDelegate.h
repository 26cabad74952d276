#pragma once

#include <memory>

#include "analytics/core/net/TallixHTTPResponse.h"
#include "analytics/core/net/TallixHttpError.h"

namespace tallix {

class TallixHttpAsyncTask;

// Hears how a task ended: exactly one of these calls per task, made through the client's
// completion executor, never on the client's own thread.
class TallixHttpTaskDelegate {
 public:
  using Task = std::shared_ptr<TallixHttpAsyncTask>;

  virtual ~TallixHttpTaskDelegate() = default;
  // The server answered with a status of 200 to 299.
  virtual void requestSuccessful(const Task& task, const TallixHTTPResponse& response) = 0;
  // Another status, or no answer at all.
  virtual void requestDidFail(const Task& task, const TallixHTTPResponse& response,
                              const TallixHttpError& error) = 0;
  virtual void requestDidCancel(const Task& task, const TallixHTTPResponse& response) = 0;
};

}  // namespace tallix
