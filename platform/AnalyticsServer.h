#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace platform {

// Where usage reports go: an http or https address such as "http://127.0.0.1:8080" (the local
// collector). Taken from an option (Orvane's --analytics-server), else from
// ORVANE_ANALYTICS_SERVER; with neither, reports are kept on disk and not sent. Orvane and
// orvanectl read it the same way.
struct AnalyticsServer {
  static constexpr const char* kEnvironmentVariable = "ORVANE_ANALYTICS_SERVER";

  // "host" or "host:port", as the agent takes it.
  std::string hostAndPort;
  bool secure = true;

  // The agent's configuration service on the same server: its "/sdk/v1/config".
  std::string configurationUrl() const;

  // Nothing for an empty text; the reason for one that is not an http(s) server address.
  using Parsed = std::variant<std::monostate, AnalyticsServer, std::string>;
  static Parsed fromText(std::string_view text);
  // The option's value wins over the environment's.
  static Parsed fromSettings(const std::optional<std::string>& option);
};

}  // namespace platform
