// A process killed while its sessions prepare and fire partner callbacks: every callback it
// stored before the kill is on disk, prepared or pending.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "TemporaryDirectory.h"
#include "analytics/core/support/TallixFilePaths.h"
#include "foundation/KeyedUnarchiver.h"
#include "tests/analytics/SpawnedChild.h"
#include "tests/analytics/config/BeaconKillChildProtocol.h"

namespace tallix {
namespace {

using foundation::Value;
using Protocol = BeaconKillChildProtocol;

Value mapIn(const std::filesystem::path& directory, const char* name) {
  const auto path = TallixFilePaths(directory, Protocol::kApiKey).persistentMap(name);
  return foundation::KeyedUnarchiver::unarchiveValueWithFile(path).value_or(Value());
}

TEST(TallixBeaconKillTest, EveryCallbackStoredBeforeTheKillIsPreparedOrPendingOnDisk) {
  std::mt19937 random(std::random_device{}());
  for (int round = 0; round < 3; ++round) {
    SCOPED_TRACE(round);
    foundation::TemporaryDirectory directory;
    int sessions = 0;
    {
      SpawnedChild child({TALLIX_BEACON_KILL_CHILD_PATH, directory.path().string()});
      ASSERT_TRUE(child.started()) << TALLIX_BEACON_KILL_CHILD_PATH;
      const std::string line = child.readLine();
      ASSERT_FALSE(line.empty()) << "the child never said how many sessions it ran";
      sessions = std::stoi(line);
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 15000));
      ASSERT_TRUE(child.kill()) << "the child ended before it was killed";
    }
    const Value prepared = mapIn(directory.path(), "tallixPersistenBeaconPrepUrlsData");
    const Value pending = mapIn(directory.path(), "tallixPersistenBeaconUrlsData");
    int pendingCount = 0;
    for (int session = 0; session < sessions; ++session) {
      const std::string key = std::to_string(Protocol::sessionKey(session));
      const std::string url = "http://127.0.0.1:9/partner?start=" + key;
      pendingCount += pending.find(url) != nullptr;
      EXPECT_TRUE(prepared.find(key) || pending.find(url)) << "session " << session << " lost";
    }
    // Half the sessions were followed by a start that fired what was prepared.
    EXPECT_GE(pendingCount, sessions / 2);
  }
}

}  // namespace
}  // namespace tallix
