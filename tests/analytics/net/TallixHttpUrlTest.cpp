#include <gtest/gtest.h>

#include "analytics/core/net/TallixHTTPResponse.h"
#include "analytics/core/net/TallixHttpAsyncTask.h"

namespace tallix {
namespace {

using Task = TallixHttpAsyncTask;

TEST(TallixHTTPResponseTest, AnswersFrom200To399AreSuccesses) {
  for (const long status : {0L, 100L, 199L, 400L, 500L, -1L})
    EXPECT_TRUE(TallixHTTPResponse(status, {}).isError()) << status;
  for (const long status : {200L, 204L, 302L, 399L})
    EXPECT_TRUE(TallixHTTPResponse(status, {}).isSuccess()) << status;
}

TEST(TallixHttpQueryTest, EncodesReservedAndNonAsciiCharactersAndReadsThemBack) {
  const Task::QueryDictionary query = {{"a b", "x&y=z/ü"}, {"key", "plain"}};
  EXPECT_EQ(Task::queryDictionaryToString(query), "a%20b=x%26y%3Dz%2F%C3%BC&key=plain");
  EXPECT_EQ(Task::stringToQueryDictionary(Task::queryDictionaryToString(query)), query);
  // Pairs without a value are kept, empty ones skipped.
  EXPECT_EQ(Task::stringToQueryDictionary("flag&&k=v%3Dw&"),
            (Task::QueryDictionary{{"flag", ""}, {"k", "v=w"}}));
}

TEST(TallixHttpUrlTest, JoinsItsPartsAndLeavesTheSchemesOwnPortOut) {
  EXPECT_EQ(Task::urlWithProtocol("https", "data.example.org", 443, "/aas.do", {}),
            "https://data.example.org/aas.do");
  EXPECT_EQ(Task::urlWithProtocol("http", "data.example.org", 8080, "/sdk/v1/config",
                                  {{"id", "a b"}, {"v", "155"}}),
            "http://data.example.org:8080/sdk/v1/config?id=a%20b&v=155");
  EXPECT_EQ(Task::urlWithProtocol("https", "bad host", 0, "/", {}), "");
}

}  // namespace
}  // namespace tallix
