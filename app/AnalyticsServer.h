#pragma once

#include <QString>
#include <optional>
#include <variant>

namespace app {

// Where Orvane's usage reports go: an http or https address such as
// "http://127.0.0.1:8080" (the local collector). Taken from --analytics-server, else from
// ORVANE_ANALYTICS_SERVER; with neither, reports are kept on disk and not sent.
struct AnalyticsServer {
  static constexpr const char* kEnvironmentVariable = "ORVANE_ANALYTICS_SERVER";

  // "host" or "host:port", as the agent takes it.
  QString hostAndPort;
  bool secure = true;

  // The agent's configuration service on the same server: its "/sdk/v1/config".
  QString configurationUrl() const;

  // Nothing for an empty text; the reason for one that is not an http(s) server address.
  using Parsed = std::variant<std::monostate, AnalyticsServer, QString>;
  static Parsed fromText(const QString& text);
  // The option's value wins over the environment's.
  static Parsed fromSettings(const std::optional<QString>& option);
};

}  // namespace app
