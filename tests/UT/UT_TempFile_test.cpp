#include "UT/UT_TempFile.h"

#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <iostream>

#include <fcntl.h>
#include <sys/stat.h>

static size_t
utCountFiles(const ut_TempDir &dir)
{
    return size_t(std::distance(
        std::filesystem::directory_iterator(dir.path()),
        std::filesystem::directory_iterator()));
}

TEST(UT_TempFile, ItsNameGoesWithItUnlessItIsKept)
{
    const ut_TempDir dir;
    setenv("VALDRIN_TEMP_DIR", dir.path().c_str(), /*overwrite=*/1);
    std::string kept;
    {
        UT_TempFile first("log-");
        UT_TempFile second("log-");
        UT_TempFile unnamed;
        EXPECT_EQ(3u, utCountFiles(dir));
        kept = first.getPath();
        EXPECT_EQ(0u, kept.find(dir.path("log-")));
        EXPECT_NE(kept, second.getPath());
        struct stat status;
        ASSERT_EQ(0, stat(second.getPath(), &status));
        EXPECT_EQ(mode_t(S_IFREG | 0600), status.st_mode);
        EXPECT_EQ(FD_CLOEXEC, fcntl(fileno(first.getFile()), F_GETFD));
        fputs("written", first.getFile());
        EXPECT_TRUE(first.close());
        EXPECT_TRUE(first.close());
        EXPECT_EQ(nullptr, first.getFile());
        first.keep();
        EXPECT_FALSE(UT_TempFile("a/b").isValid());
        EXPECT_EQ(EINVAL, errno);
    }
    EXPECT_EQ(1u, utCountFiles(dir));
    EXPECT_EQ("written", dir.read(kept.substr(dir.path().size() + 1)));
}

TEST(UT_TempFile, FilesWithoutNamesKeepWhatIsWritten)
{
    const ut_TempDir dir;
    setenv("VALDRIN_TEMP_DIR", dir.path().c_str(), /*overwrite=*/1);
    FILE *const file = UTtmpFile();
    ASSERT_NE(nullptr, file);
    const auto stream = UTtmpStream();
    EXPECT_EQ(0u, utCountFiles(dir));
    char text[8] = "";
    EXPECT_EQ(4, fprintf(file, "file"));
    rewind(file);
    EXPECT_STREQ("file", fgets(text, sizeof(text), file));
    EXPECT_EQ(0, fclose(file));
    EXPECT_TRUE(*stream << "stream");
    stream->seekg(0);
    std::string read;
    EXPECT_TRUE(std::getline(*stream, read));
    EXPECT_EQ("stream", read);
}

TEST(UT_TempFile, NothingIsMadeWhereThereIsNoDirectory)
{
    const ut_TempDir dir;
    setenv("VALDRIN_TEMP_DIR", dir.path("none").c_str(), /*overwrite=*/1);
    errno = 0;
    EXPECT_EQ(nullptr, UTtmpFile());
    EXPECT_EQ(ENOENT, errno);
    EXPECT_TRUE(UTtmpStream()->fail());
    UT_TempFile file;
    EXPECT_EQ(ENOENT, errno);
    EXPECT_FALSE(file.isValid());
    EXPECT_EQ(nullptr, file.getFile());
    EXPECT_TRUE(file.close());
}
