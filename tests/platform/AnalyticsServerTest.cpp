#include <gtest/gtest.h>
#include <stdlib.h>

#include "platform/AnalyticsServer.h"

namespace platform {
namespace {

// The server the agent is given (its configuration service names scheme and host), or the
// reason the text is refused.
std::string outcome(const AnalyticsServer::Parsed& parsed) {
  if (const auto* server = std::get_if<AnalyticsServer>(&parsed))
    return server->configurationUrl();
  if (const auto* problem = std::get_if<std::string>(&parsed))
    return "refused: " + *problem;
  return "none";
}

TEST(AnalyticsServerTest, AddressesBecomeTheAgentsHostAndSchemeOrAreRefused) {
  EXPECT_EQ(outcome(AnalyticsServer::fromText("http://127.0.0.1:8080")),
            "http://127.0.0.1:8080/sdk/v1/config");
  EXPECT_EQ(outcome(AnalyticsServer::fromText(" https://reports.example.org/ ")),
            "https://reports.example.org/sdk/v1/config");
  EXPECT_EQ(outcome(AnalyticsServer::fromText("http://[::1]:9000")),
            "http://[::1]:9000/sdk/v1/config");
  EXPECT_EQ(outcome(AnalyticsServer::fromText("")), "none");

  for (const char* refused : {"127.0.0.1:8080", "ftp://host", "http://host/aas.do",
                              "http://host?x=1", "http://user@host", "http://"})
    EXPECT_EQ(outcome(AnalyticsServer::fromText(refused)).rfind("refused: ", 0), 0u) << refused;
}

TEST(AnalyticsServerTest, TheOptionWinsOverTheEnvironment) {
  ::setenv(AnalyticsServer::kEnvironmentVariable, "http://from-environment:1", 1);
  EXPECT_EQ(outcome(AnalyticsServer::fromSettings(std::nullopt)),
            "http://from-environment:1/sdk/v1/config");
  EXPECT_EQ(outcome(AnalyticsServer::fromSettings("https://from-option")),
            "https://from-option/sdk/v1/config");
  ::unsetenv(AnalyticsServer::kEnvironmentVariable);
  EXPECT_EQ(outcome(AnalyticsServer::fromSettings(std::nullopt)), "none");
}

}  // namespace
}  // namespace platform
