#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "foundation/app_paths.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

namespace {

using kvtest::ScopedEnv;

TEST(AppPaths, FollowTheXdgVariablesAndFallBackBelowHome) {
    ScopedEnv home("HOME", "/home/someone");
    {
        ScopedEnv data("XDG_DATA_HOME", "/srv/data");
        ScopedEnv cache("XDG_CACHE_HOME", nullptr);
        ScopedEnv config("XDG_CONFIG_HOME", "relative/ignored");
        EXPECT_EQ(LGetUserDataFolder(), "/srv/data/korvane");
        EXPECT_EQ(LGetRecoveryFolder(), "/srv/data/korvane/Recovery");
        EXPECT_EQ(LGetUserCacheFolder(), "/home/someone/.cache/korvane");
        EXPECT_EQ(LGetUserConfigFolder(), "/home/someone/.config/korvane");
    }
    ScopedEnv data("XDG_DATA_HOME", "");
    EXPECT_EQ(LGetUserDataFolder(), "/home/someone/.local/share/korvane");
}

TEST(AppPaths, EnsureFolderCreatesParentsAndReportsFailure) {
    kvtest::TempDir dir;
    const std::string deep = dir.File("a/b/c");
    EXPECT_EQ(LEnsureFolder(deep), deep);
    EXPECT_EQ(LEnsureFolder(deep), deep); // again: still fine
    ASSERT_TRUE(kvtest::WriteFile(dir.File("file"), "x"));
    EXPECT_EQ(LEnsureFolder(dir.File("file/sub")), "");
    EXPECT_EQ(LEnsureFolder(""), "");
}

} // namespace
