#pragma once

#include <memory>
#include <vector>

#include "analytics/config/exchange/TallixBeaconRequestEncoder.h"
#include "analytics/config/exchange/TallixBeaconResponse.h"
#include "analytics/core/net/TallixHttpTaskDelegate.h"
#include "analytics/core/report/TallixDeviceDescription.h"
#include "foundation/Value.h"

namespace tallix {

class TallixClock;
class TallixGlobalVariableStorage;
class TallixHttpTransport;
class TallixNetworkUtil;

// Fetches the remote configuration: builds the request from what the agent knows, posts it to
// the configuration service and stores what the service answers. One exchange at a time,
// guarded by the agent's pending flag. Runs on the callback controller's queue, where the
// transport also delivers the answers.
class TallixBeaconRequest : public TallixHttpTaskDelegate,
                            public std::enable_shared_from_this<TallixBeaconRequest> {
 public:
  static constexpr const char* kTaskTag = "beaconRequest";
  static constexpr const char* kContentType = "application/vnd.tallix.sdk-avrobin;version=1";
  // With a blank after the semicolon, unlike the content type: the service takes both as sent.
  static constexpr const char* kAccept = "application/vnd.tallix.sdk-avrobin; version=1";

  struct Parts {
    TallixGlobalVariableStorage& storage;
    std::shared_ptr<TallixNetworkUtil> network;
    const TallixClock& clock;
    TallixDeviceDescription device;
    TallixHttpTransport& transport;
  };

  explicit TallixBeaconRequest(Parts parts);

  // Does nothing while an exchange is under way.
  void invokeBeaconWithParams(const foundation::Value& params = {});

  void requestSuccessful(const Task& task, const TallixHTTPResponse& response) override;
  void requestDidFail(const Task& task, const TallixHTTPResponse& response,
                      const TallixHttpError& error) override;
  void requestDidCancel(const Task& task, const TallixHTTPResponse& response) override;

 private:
  TallixBeaconRequestFields fields() const;
  void sendBeaconRequest(const TallixEncodedBeaconRequest& request,
                         const foundation::Value& params);
  void unregisterTask(const Task& task);

  Parts parts_;
  TallixBeaconRequestEncoder encoder_;
  TallixBeaconResponse response_;
  std::vector<Task> runningTasks_;
};

}  // namespace tallix
