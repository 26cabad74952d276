#include "tools/tallix-collector/TallixConfigEndpoint.h"

#include <httplib.h>

#include "tools/tallix-collector/TallixClock.h"
#include "tools/tallix-collector/TallixConfigAnswer.h"
#include "tools/tallix-collector/TallixConfigRequestCheck.h"
#include "tools/tallix-collector/TallixConfigRequestReader.h"
#include "tools/tallix-collector/TallixConsole.h"
#include "tools/tallix-collector/TallixJsonText.h"
#include "tools/tallix-collector/TallixJsonValues.h"

namespace tallix {

namespace {

constexpr int kOk = 200;
constexpr int kBadRequest = 400;
constexpr int kNotFound = 404;

std::string quoted(const json_t* request, const char* name) {
  const char* text = json_string_value(json_object_get(request, name));
  return std::string("\"") + (text ? text : "") + "\"";
}

}  // namespace

void TallixConfigEndpoint::receive(const httplib::Request& request, httplib::Response& response,
                                   const TallixConfigAnswer* config) {
  if (auto fault = TallixConfigRequestCheck::fault(request))
    return refuse(response, *fault);
  TallixJson decoded;
  try {
    decoded = TallixConfigRequestReader::read(request.body);
  } catch (const TallixConfigRequestRefused& fault) {
    return refuse(response, fault.what());
  }
  if (config) {
    response.status = kOk;
    response.set_content(config->encode(tallixNowMs()), TallixConfigRequestCheck::kContentType);
  } else {
    response.status = kNotFound;
    response.set_content(
        TallixJsonText::error("no configuration to hand out: start the collector with --config "
                              "FILE or post {\"config\": {...}} to /control"),
        TallixJsonText::kContentType);
  }
  keep(std::move(decoded), response.status);
}

void TallixConfigEndpoint::refuse(httplib::Response& response, const std::string& reason) {
  console_.line("config request refused: " + reason);
  response.status = kBadRequest;
  response.set_content(TallixJsonText::error(reason), TallixJsonText::kContentType);
}

void TallixConfigEndpoint::keep(TallixJson decoded, int status) {
  const std::string summary =
      "project key " + quoted(decoded.get(), "project_key") + ", bundle " +
      quoted(decoded.get(), "bundle_id") + ", sdk " +
      std::to_string(json_integer_value(json_object_get(decoded.get(), "sdk_version")));
  TallixJson entry(json_object());
  json_object_set_new(entry.get(), "receivedAt", TallixJsonValues::timestamp(tallixNowMs()));
  json_object_set_new(entry.get(), "status", json_integer(status));
  json_object_set_new(entry.get(), "request", decoded.release());
  const json_int_t number = log_.add(std::move(entry));
  console_.line("config request " + std::to_string(number) + ": " + summary + ", answered " +
                std::to_string(status));
}

}  // namespace tallix
