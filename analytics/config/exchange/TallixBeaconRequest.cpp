#include "analytics/config/exchange/TallixBeaconRequest.h"

#include <algorithm>

#include "analytics/config/exchange/TallixBeaconSettingsStore.h"
#include "analytics/core/net/TallixHttpAsyncTask.h"
#include "analytics/core/net/TallixNetworkUtil.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixAgentVersion.h"
#include "analytics/core/support/TallixClock.h"
#include "analytics/core/support/TallixLog.h"

namespace tallix {

using foundation::Value;

namespace {

// The platform code of a device that is not a tablet.
constexpr std::int32_t kPlatform = 2;

}  // namespace

TallixBeaconRequest::TallixBeaconRequest(Parts parts) : parts_(std::move(parts)) {}

void TallixBeaconRequest::invokeBeaconWithParams(const Value& params) {
  if (parts_.network->configServerUrl().empty()) {
    TallixLog::debug("beaconRequest: no configuration server set");
    return;
  }
  if (!parts_.storage.markBeaconRequestPending())
    return;
  const auto request = encoder_.encode(fields());
  if (!request) {
    // Nothing went out, so nothing will answer: the next trigger may try again.
    parts_.storage.clearBeaconRequestPending();
    return;
  }
  sendBeaconRequest(*request, params);
}

TallixBeaconRequestFields TallixBeaconRequest::fields() const {
  const TallixSettings settings = parts_.storage.settings();
  const TallixDeviceDescription& device = parts_.device;
  TallixBeaconRequestFields fields{
      .projectKey = settings.apiKey,
      .bundleId = device.bundleIdentifier,
      .appVersion = settings.appVersion,
      .sdkVersion = TallixAgentVersion::kVersion,
      .platform = kPlatform,
      .platformVersion = device.systemVersion,
      .limitAdTracking = !device.adTrackingEnabled,
      .hwMachine = device.platform,
      .tallixId = device.tallixId,
      .identifierForVendor = device.identifierForVendor,
  };
  if (const auto& location = settings.location) {
    fields.latitude = location->latitude;
    fields.longitude = location->longitude;
    fields.accuracy = static_cast<float>(location->horizontalAccuracy);
  }
  return fields;
}

void TallixBeaconRequest::sendBeaconRequest(const TallixEncodedBeaconRequest& request,
                                            const Value& params) {
  auto task = std::make_shared<TallixHttpAsyncTask>(
      parts_.transport,
      TallixHttpRequest{
          "POST",
          parts_.network->configServerUrl(),
          request.body,
          {{"content-type", kContentType}, {"accept", kAccept}, {"fm-checksum", request.checksum}}},
      weak_from_this());
  task->setTag(kTaskTag);
  if (!params.isNull())
    task->setTaskParams(Value::Dictionary{{"params", params}});
  runningTasks_.reserve(2);
  runningTasks_.push_back(task);
  task->start();
}

void TallixBeaconRequest::requestSuccessful(const Task& task, const TallixHTTPResponse& response) {
  unregisterTask(task);
  const auto& body = response.body();
  if (body.empty()) {
    TallixLog::debug("beaconRequst: bad response from server");
  } else {
    TallixLog::debug("This is a beacon response of len %lu",
                     static_cast<unsigned long>(body.size()));
    auto& globals = parts_.storage.persistentGlobalsMap();
    // An answer that decodes to nothing leaves the settings the agent already has.
    if (const auto settings = response_.parseBeaconResponse(body, globals, parts_.clock.now()))
      TallixBeaconSettingsStore(globals).store(*settings);
    parts_.storage.savePersistentGlobalsToDisk();
  }
  parts_.storage.clearBeaconRequestPending();
}

void TallixBeaconRequest::requestDidFail(const Task& task, const TallixHTTPResponse&,
                                         const TallixHttpError& error) {
  TallixLog::debug("beaconRequest: Could not connect to server: %s", error.message.c_str());
  unregisterTask(task);
  parts_.storage.clearBeaconRequestPending();
}

void TallixBeaconRequest::requestDidCancel(const Task& task, const TallixHTTPResponse&) {
  unregisterTask(task);
  parts_.storage.clearBeaconRequestPending();
  TallixLog::debug("beaconRequst: Request was cancelled");
}

void TallixBeaconRequest::unregisterTask(const Task& task) {
  std::erase(runningTasks_, task);
}

}  // namespace tallix
