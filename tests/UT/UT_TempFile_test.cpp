#include "UT/UT_TempFile.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

TEST(UT_TempFile, FilesKeepWhatIsWrittenAndGo)
{
    auto named = std::make_unique<UT_TempFile>("log-");
    const UT_String path(named->getPath(), /*deep=*/1);
    struct stat status;
    EXPECT_TRUE(stat(path, &status) == 0 && status.st_mode == (S_IFREG | 0600));
    EXPECT_TRUE(named->close() && named->close());
    named.reset();
    EXPECT_TRUE(stat(path, &status) != 0 && !UT_TempFile("a/b").isValid());
    FILE *const file = UTtmpFile();
    EXPECT_TRUE(fputs("1", file) > 0 && fseek(file, 0, SEEK_SET) == 0);
    EXPECT_TRUE(fgetc(file) == '1' && fclose(file) == 0);
}
