#pragma once

#include <jansson.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/tallix-collector/TallixConfigAnswer.h"
#include "tools/tallix-collector/TallixJson.h"

namespace tallix {

// How the collector answers: for an upload the status, how long it waits first and the cookies
// it hands back for the agent to send with its next reports; the configuration it hands out;
// the status partner callbacks get.
struct TallixAnswerSettings {
  using Cookies = std::vector<std::pair<std::string, std::string>>;

  int status = 200;
  int delayMs = 0;
  Cookies cookies;
  int callbackStatus = 200;
  // How long a configuration answer waits: a slow or hanging configuration service.
  int configDelayMs = 0;
  // None answers configuration requests with 404.
  std::shared_ptr<const TallixConfigAnswer> config;

  // Takes the members a control body names ({"status":500,"delayMs":0,"cookies":{"k":"v"},
  // "callbackStatus":500,"configDelayMs":0,"config":{...} or null}); when any of them is invalid
  // nothing changes and the reason is returned.
  std::optional<std::string> apply(const json_t* control);
  TallixJson toJson() const;

  // "key=value,key=value" as given on the command line; nothing when malformed.
  static std::optional<Cookies> parseCookieList(std::string_view text);
  static std::optional<std::string> invalidStatus(json_int_t status);
  static std::optional<std::string> invalidDelay(json_int_t delayMs);
  static std::optional<std::string> invalidCookies(const Cookies& cookies);

 private:
  std::optional<std::string> applyNumbers(const json_t* control);
  std::optional<std::string> applyCookies(const json_t* control);
  std::optional<std::string> applyConfig(const json_t* control);
  static std::optional<Cookies> cookiesFromJson(const json_t* object);
};

}  // namespace tallix
