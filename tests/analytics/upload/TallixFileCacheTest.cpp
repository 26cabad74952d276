#include <gtest/gtest.h>
#include <sys/stat.h>

#include <functional>
#include <thread>
#include <vector>

#include "TemporaryDirectory.h"
#include "analytics/core/support/TallixLog.h"
#include "analytics/core/upload/TallixFileCache.h"
#include "foundation/AtomicFile.h"

namespace tallix {
namespace {

using foundation::Value;

const Value kSettings(Value::Dictionary{{"ttl", Value(3600)}, {"urls", Value(Value::Array{})}});

std::string debugLogOf(const std::function<void()>& action) {
  testing::internal::CaptureStdout();
  TallixLog::setLogLevel(TallixLog::kDebugLevel);
  action();
  TallixLog::setLogLevel(TallixLog::kRefusalLevel);
  return testing::internal::GetCapturedStdout();
}

class TallixFileCacheTest : public ::testing::Test {
 protected:
  std::shared_ptr<TallixFileCache> cacheFor(const std::filesystem::path& directory,
                                            const std::string& version = "155") {
    TallixFileCache::createInstanceWithApiKey(directory, "KEY", version);
    return TallixFileCache::instance();
  }
  void TearDown() override { TallixFileCache::cleanup(); }

  foundation::TemporaryDirectory directory;
};

TEST_F(TallixFileCacheTest, ItemsAreKeptPerAgentVersionUnlessAskedOtherwiseAndRemovedAlone) {
  auto cache = cacheFor(directory.path());
  ASSERT_TRUE(cache->save(kSettings, "config"));
  ASSERT_TRUE(cache->save(Value("any version"), "config", false));
  ASSERT_TRUE(cache->save(kSettings, "urls"));

  const auto versioned = directory.path() / "tallixCache_config_KEY_155.archive";
  struct stat info {};
  ASSERT_EQ(::stat(versioned.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  EXPECT_TRUE(std::filesystem::exists(directory.path() / "tallixCache_config_KEY_.archive"));
  EXPECT_EQ(cache->get("config"), kSettings);
  auto upgraded = cacheFor(directory.path(), "156");
  EXPECT_FALSE(upgraded->get("config"));
  EXPECT_EQ(upgraded->get("config", false), Value("any version"));

  cache->remove("config");
  cache->remove("never saved");
  EXPECT_FALSE(cache->get("config"));
  EXPECT_EQ(cache->get("config", false), Value("any version"));
  EXPECT_EQ(cache->get("urls"), kSettings);
}

TEST_F(TallixFileCacheTest, AMissingDamagedOrUnwritableFileKeepsNothingAndSaysSo) {
  auto cache = cacheFor(directory.path());
  EXPECT_FALSE(cache->get("config"));
  foundation::AtomicFile::write(directory.path() / "tallixCache_config_KEY_155.archive",
                                "{\"ttl\": 36");
  std::optional<Value> read;
  const auto readLog = debugLogOf([&] { read = cache->get("config"); });
  EXPECT_FALSE(read);
  EXPECT_NE(readLog.find("tallixCache_config_KEY_155.archive] unreadable"), std::string::npos)
      << readLog;

  // A directory that does not exist: unlike permission bits, that stops root as well.
  auto homeless = cacheFor(directory.path() / "gone");
  bool saved = true;
  const auto saveLog = debugLogOf([&] { saved = homeless->save(kSettings, "config"); });
  EXPECT_FALSE(saved);
  EXPECT_EQ(saveLog, "TallixFileCache: object[config] cannot be saved to disk\n");
  EXPECT_FALSE(homeless->get("config"));
}

TEST_F(TallixFileCacheTest, TheInstanceLivesFromCreationToCleanupAndIsSafeToShare) {
  EXPECT_FALSE(TallixFileCache::instance());
  auto held = cacheFor(directory.path());
  ASSERT_TRUE(held);
  EXPECT_EQ(TallixFileCache::instance(), held);

  // Readers on other threads while the instance is replaced and dropped: ThreadSanitizer
  // flags an unguarded instance here.
  std::vector<std::thread> readers;
  for (int i = 0; i < 4; ++i)
    readers.emplace_back([] {
      for (int round = 0; round < 200; ++round)
        if (auto cache = TallixFileCache::instance())
          cache->get("config");
    });
  for (int round = 0; round < 50; ++round)
    cacheFor(directory.path());
  TallixFileCache::cleanup();
  for (auto& reader : readers)
    reader.join();

  EXPECT_FALSE(TallixFileCache::instance());
  // A caller that still holds the old instance keeps a working cache.
  EXPECT_TRUE(held->save(kSettings, "config"));
  EXPECT_EQ(held->get("config"), kSettings);
}

}  // namespace
}  // namespace tallix
