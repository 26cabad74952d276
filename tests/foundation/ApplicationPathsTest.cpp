#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "TemporaryDirectory.h"
#include "foundation/ApplicationPaths.h"

namespace foundation {
namespace {

mode_t permissions(const std::filesystem::path& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 0777 : 0;
}

TEST(ApplicationPathsTest, FollowsXdgRulesAndCreatesPrivateDirectories) {
  TemporaryDirectory root;
  const std::string savedHome = std::getenv("HOME") ? std::getenv("HOME") : "/";
  const auto cache = root.path() / "deep" / "cache";
  ::setenv("HOME", root.path().c_str(), 1);
  ::setenv("XDG_DATA_HOME", "relative/data", 1);  // relative: must be ignored
  ::setenv("XDG_CACHE_HOME", cache.c_str(), 1);

  const ApplicationPaths paths("Orvane");
  EXPECT_EQ(paths.dataDirectory(), root.path() / ".local/share/Orvane");
  EXPECT_EQ(paths.cacheDirectory(), cache / "Orvane");
  EXPECT_EQ(permissions(root.path() / ".local/share/Orvane"), 0700u);
  EXPECT_EQ(permissions(cache), 0700u);
  EXPECT_EQ(permissions(cache / "Orvane"), 0700u);

  ::setenv("HOME", savedHome.c_str(), 1);
  ::unsetenv("XDG_DATA_HOME");
  ::unsetenv("XDG_CACHE_HOME");
}

}  // namespace
}  // namespace foundation
