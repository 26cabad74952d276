#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "TemporaryDirectory.h"
#include "foundation/ApplicationPaths.h"

namespace foundation {
namespace {

// Sets environment variables for one test and puts the old values back afterwards.
class ScopedEnvironment {
 public:
  void set(const char* name, const char* value) {
    const char* old = std::getenv(name);
    saved_.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
    value ? ::setenv(name, value, 1) : ::unsetenv(name);
  }
  ~ScopedEnvironment() {
    for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
      it->second ? ::setenv(it->first.c_str(), it->second->c_str(), 1)
                 : ::unsetenv(it->first.c_str());
    }
  }

 private:
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

mode_t permissions(const std::filesystem::path& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 0777 : 0;
}

TEST(ApplicationPathsTest, HonoursXdgVariablesAndCreatesPrivateDirectories) {
  TemporaryDirectory root;
  ScopedEnvironment environment;
  const auto data = root.path() / "data";
  const auto cache = root.path() / "deep" / "cache";
  environment.set("XDG_DATA_HOME", data.c_str());
  environment.set("XDG_CACHE_HOME", cache.c_str());

  const ApplicationPaths paths("Orvane");
  EXPECT_EQ(paths.dataDirectory(), data / "Orvane");
  EXPECT_EQ(paths.cacheDirectory(), cache / "Orvane");
  EXPECT_EQ(permissions(data / "Orvane"), 0700u);
  EXPECT_EQ(permissions(cache), 0700u);
  EXPECT_EQ(permissions(cache / "Orvane"), 0700u);
}

TEST(ApplicationPathsTest, FallsBackToHomeWhenVariablesAreUnsetOrRelative) {
  TemporaryDirectory home;
  ScopedEnvironment environment;
  environment.set("HOME", home.path().c_str());
  environment.set("XDG_DATA_HOME", "relative/data");
  environment.set("XDG_CACHE_HOME", nullptr);

  const ApplicationPaths paths("Orvane");
  EXPECT_EQ(paths.dataDirectory(), home.path() / ".local/share/Orvane");
  EXPECT_EQ(paths.cacheDirectory(), home.path() / ".cache/Orvane");
  EXPECT_TRUE(std::filesystem::is_directory(home.path() / ".local/share/Orvane"));
}

}  // namespace
}  // namespace foundation
