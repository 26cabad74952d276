#include <gtest/gtest.h>

#include <fstream>

#include "TemporaryDirectory.h"
#include "platform/InfoDictionary.h"

namespace platform {
namespace {

TEST(InfoDictionaryTest, ReadsKeyValueLinesSkippingCommentsAndBlanks) {
  const auto dictionary = InfoDictionary::parse(
      "# shipped values\n\n  Tallix Watch API Key =  QF7 \r\nempty=\nurl = a=b\n", "Orvane.info");
  EXPECT_EQ(dictionary.value("Tallix Watch API Key"), "QF7");
  EXPECT_EQ(dictionary.value("empty"), "");
  EXPECT_EQ(dictionary.value("url"), "a=b") << "the first = divides";
  EXPECT_EQ(dictionary.value("# shipped values"), std::nullopt);
}

TEST(InfoDictionaryTest, AMalformedLineIsNamedAndAMissingFileHasNoValues) {
  const std::vector<std::pair<std::string, std::string>> malformed = {
      {"a = 1\njust words\n", "Orvane.info line 2: expected \"key = value\", found \"just words\""},
      {"\n = value", "Orvane.info line 2: expected \"key = value\", found \"= value\""},
      {"a = 1\na = 2", "Orvane.info line 2: \"a\" is given a second time"},
  };
  for (const auto& [text, message] : malformed) {
    try {
      InfoDictionary::parse(text, "Orvane.info");
      ADD_FAILURE() << "accepted: " << text;
    } catch (const InfoDictionary::Malformed& error) {
      EXPECT_EQ(error.what(), message);
    }
  }
  foundation::TemporaryDirectory directory;
  EXPECT_EQ(InfoDictionary::load(directory.path() / "missing.info").value("a"), std::nullopt);
  std::ofstream(directory.path() / "Orvane.info") << "a = 1\n";
  EXPECT_EQ(InfoDictionary::load(directory.path() / "Orvane.info").value("a"), "1");
}

}  // namespace
}  // namespace platform
