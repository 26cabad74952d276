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
  std::size_t blockFiles() {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
      count += TallixDataSenderBlockInfo::looksLikeBlockFile(entry.path());
    return count;
  }

  foundation::TemporaryDirectory directory;
};

TEST_F(TallixDataSenderIndexTest, BlocksOutliveTheProcessAndLeaveWithTheirFiles) {
  auto index = load();
  const auto first = index->storeData({1, 2, 3}, at(0));
  const auto second = index->storeData({4}, at(1));
  ASSERT_TRUE(first && second);
  index->setSentReportSuccessfully();

  auto reloaded = load();
  EXPECT_EQ(storedBodies(*reloaded), (std::vector<Bytes>{{1, 2, 3}, {4}}));
  EXPECT_TRUE(reloaded->everSentReportSuccessfully());
  reloaded->removeStoredDataWithIdentifier(*first);
  EXPECT_EQ(storedBodies(*load()), (std::vector<Bytes>{{4}}));
  EXPECT_EQ(blockFiles(), 1u);
  EXPECT_EQ(kDataKey,
            "Data_" +
                std::to_string(static_cast<std::uint32_t>(TallixFilePaths::apiKeyHash("KEY"))) +
                "_155");
}

TEST_F(TallixDataSenderIndexTest, TheFiftyFirstBlockPushesOutTheOldest) {
  auto index = load();
  for (int i = 0; i < 51; ++i)
    index->storeData({static_cast<std::uint8_t>(i)}, at(i));
  EXPECT_EQ(index->notSentBlocks().size(), 51u);
  index->discardOutdatedBlocks();
  const auto bodies = storedBodies(*load());
  ASSERT_EQ(bodies.size(), 50u);
  EXPECT_EQ(bodies.front(), Bytes{1});
  EXPECT_EQ(bodies.back(), Bytes{50});
  EXPECT_EQ(blockFiles(), 50u);
}

TEST_F(TallixDataSenderIndexTest, NoStoredBlockIsLostToAKillOrADamagedIndex) {
  auto index = load();
  index->storeData({7}, at(0));
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

TEST_F(TallixDataSenderIndexTest, BlocksOfAnEarlierAgentVersionAreSentUnderTheCurrentKey) {
  load("Data_1_154")->storeData({9}, at(0));
  auto index = load();
  EXPECT_EQ(storedBodies(*index), (std::vector<Bytes>{{9}}));
}

}  // namespace
}  // namespace tallix
