#include <gtest/gtest.h>

#include "TemporaryDirectory.h"
#include "analytics/core/support/TallixFilePaths.h"
#include "analytics/core/upload/TallixDataSenderIndex.h"
#include "foundation/AtomicFile.h"

namespace tallix {
namespace {

using foundation::Date;
using Bytes = TallixDataSenderIndex::Bytes;

const std::string kDataKey = TallixDataSenderIndex::dataKeyFor("KEY");

Date at(int second) {
  return Date::fromTimeIntervalSince1970(1700000000 + second);
}

class TallixDataSenderIndexTest : public ::testing::Test {
 protected:
  std::unique_ptr<TallixDataSenderIndex> load(const std::string& dataKey = kDataKey) {
    return TallixDataSenderIndex::instantiatedIndex(directory.path(), dataKey);
  }
  std::vector<Bytes> storedBodies(const TallixDataSenderIndex& index) {
    std::vector<Bytes> bodies;
    for (const auto& block : index.notSentBlocks())
      bodies.push_back(*index.dataOf(*block));
    return bodies;
  }

  foundation::TemporaryDirectory directory;
};

TEST_F(TallixDataSenderIndexTest, KeepsTheFiftyNewestBlocksAcrossRunsUntilEachIsRemoved) {
  EXPECT_EQ(kDataKey,
            "Data_" + std::to_string(std::uint32_t(TallixFilePaths::apiKeyHash("KEY"))) + "_155");
  auto index = load();
  std::vector<std::string> identifiers;
  for (std::uint8_t i = 0; i < 51; ++i)
    identifiers.push_back(index->storeData({i, 0xAB}, at(i)).value_or(""));
  EXPECT_EQ(index->notSentBlocks().size(), 51u);
  index->discardOutdatedBlocks();
  index->setSentReportSuccessfully();

  auto reloaded = load();
  EXPECT_TRUE(reloaded->everSentReportSuccessfully());
  reloaded->removeStoredDataWithIdentifier(identifiers.back());
  const auto bodies = storedBodies(*load());
  ASSERT_EQ(bodies.size(), 49u);
  EXPECT_EQ(bodies.front(), (Bytes{1, 0xAB}));
  EXPECT_EQ(bodies.back(), (Bytes{49, 0xAB}));
  std::size_t blockFiles = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
    blockFiles += TallixDataSenderBlockInfo::looksLikeBlockFile(entry.path());
  EXPECT_EQ(blockFiles, 49u);
}

TEST_F(TallixDataSenderIndexTest, NoStoredBlockIsLostToAnUpgradeAKillOrADamagedIndex) {
  // Blocks of an earlier agent version are sent under the current key, as they were listed.
  load("Data_1_154")->storeData({7}, at(0));
  EXPECT_EQ(load()->notSentBlocks().front()->creationDate(), at(0));
  // A kill after a block was written but before the index listed it.
  foundation::AtomicFile::write(directory.path() / "0F0E0D0C-0B0A-4908-8706-050403020100", "\x08");
  EXPECT_EQ(storedBodies(*load()), (std::vector<Bytes>{{7}, {8}}));

  foundation::AtomicFile::write(directory.path() / TallixDataSenderIndex::kFileName, "{garbage");
  EXPECT_EQ(storedBodies(*load()).size(), 2u);

  // An index naming a file outside its blocks is not trusted, and never read from.
  foundation::AtomicFile::write(
      directory.path() / TallixDataSenderIndex::kFileName,
      R"({"$class":"TallixDataSenderIndex","index":{"Data_1_155":[{"identifier":"../../x",)"
      R"("dataSize":1,"creationDate":{"$date":0}}]}})");
  EXPECT_EQ(storedBodies(*load()).size(), 2u);
}

}  // namespace
}  // namespace tallix
