#include <gtest/gtest.h>

#include "foundation/Base64.h"

namespace foundation {
namespace {

std::vector<std::uint8_t> bytes(std::string_view text) {
  return {text.begin(), text.end()};
}

TEST(Base64Test, MatchesTheStandardVectorsBothWays) {
  const std::pair<const char*, const char*> vectors[] = {
      {"", ""},
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="},
      {"foobar", "Zm9vYmFy"},
  };
  for (const auto& [plain, encoded] : vectors) {
    EXPECT_EQ(Base64::encode(bytes(plain)), encoded);
    EXPECT_EQ(Base64::decode(encoded), bytes(plain)) << encoded;
  }
  const std::vector<std::uint8_t> allBytes = [] {
    std::vector<std::uint8_t> all(256);
    for (int i = 0; i < 256; ++i)
      all[i] = static_cast<std::uint8_t>(i);
    return all;
  }();
  EXPECT_EQ(Base64::decode(Base64::encode(allBytes)), allBytes);
}

TEST(Base64Test, RefusesAnythingButCanonicalInput) {
  for (const char* bad :
       {"Zg", "Zg=", "Z===", "Zh==", "Zm9=", "Zm 9v", "Zm9v\n", "=Zm9", "Zg==Zg=="}) {
    EXPECT_FALSE(Base64::decode(bad)) << bad;
  }
}

}  // namespace
}  // namespace foundation
