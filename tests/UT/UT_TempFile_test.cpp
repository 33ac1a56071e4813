#include "UT/UT_TempFile.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

TEST(UT_TempFile, ANamedFileIsPrivateAndRemovedWithItsObject)
{
    auto named = std::make_unique<UT_TempFile>("log-");
    const UT_String path(named->getPath(), /*deep=*/1);
    struct stat status;
    ASSERT_EQ(0, stat(path, &status)) << path;
    EXPECT_EQ(mode_t(S_IFREG | 0600), status.st_mode);
    EXPECT_TRUE(named->close());
    EXPECT_TRUE(named->close()); // once more
    named.reset();
    EXPECT_NE(0, stat(path, &status)) << path;
}

TEST(UT_TempFile, APrefixHoldsNoSlash)
{
    EXPECT_FALSE(UT_TempFile("a/b").isValid());
}
