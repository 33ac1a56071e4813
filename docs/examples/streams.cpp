#include "UT/UT_IStream.h"
#include "UT/UT_WorkBuffer.h"

#include <cstdio>
#include <memory>
#include <string>

// Four lines, compressed with "gzip".
static const unsigned char theScene[] = {
    0x1f, 0x8b, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x03, 0x4b,
    0xca, 0xaf, 0x50, 0x30, 0x04, 0x41, 0xae, 0xe2, 0x82, 0x8c, 0xd4,
    0xa2, 0x54, 0x05, 0x03, 0x3d, 0x53, 0x2e, 0x65, 0x85, 0x92, 0x8c,
    0x54, 0x85, 0xb4, 0x9c, 0xfc, 0xfc, 0x22, 0xae, 0x82, 0x9c, 0xc4,
    0xbc, 0x54, 0x05, 0x43, 0x03, 0x20, 0xe2, 0x02, 0x00, 0x80, 0xfc,
    0x92, 0xb6, 0x2d, 0x00, 0x00, 0x00};

// A pack: "PACK", where the scene starts and how long it is, something else,
// the scene, and something else again. Returns its path.
static std::string
writePack()
{
    const unsigned char start = 30;
    const unsigned char numbers[] = {0, 0, 0, start, 0, 0, 0, sizeof(theScene)};
    FILE *const pack = tmpfile();
    fwrite("PACK", 1, 4, pack);
    fwrite(numbers, 1, sizeof(numbers), pack);
    fwrite("an icon, perhaps..", 1, 18, pack);
    fwrite(theScene, 1, sizeof(theScene), pack);
    fwrite("and a sound", 1, 11, pack);
    fflush(pack);
    return "/proc/self/fd/" + std::to_string(fileno(pack));
}

// A text that is stored with the lowest bit of each byte inverted.
class MaskedBuf : public UT_IStreamBuf
{
public:
    explicit MaskedBuf(const char *text) : myNext(text) {}

    int read(char *buf, int n) override
    {
        int got = 0;
        while (got < n && *myNext)
            buf[got++] = char(*myNext++ ^ 1);
        return got;
    }

    const char *loadBuffer(int &start, int &end) override
    {
        start = 0;
        end = read(myBlock, sizeof(myBlock));
        return end ? myBlock : nullptr;
    }

    int streamPeek() override { return *myNext ? *myNext ^ 1 : -1; }
    int64 tellPos() const override { return -1; }
    bool seekPos(int64, int) override { return false; }
    bool endOfBuffer() const override { return !*myNext; }

private:
    const char *myNext;
    char myBlock[64];
};

int
main()
{
    const std::string path = writePack();

    UT_IFStream pack(path.c_str(), UT_ISTREAM_BINARY);
    char magic[4];
    int place[2]; // where the scene starts, and how long it is
    if (pack.bread(magic, 4) < 4 || pack.bread(place, 2) < 2)
    {
        fprintf(stderr, "%s: %s\n", path.c_str(), pack.getErrorStr());
        return 1;
    }

    // The streams share one file and keep it open as long as they live.
    const std::unique_ptr<UT_IStream> part(
        pack.getSubStream(place[0], place[1]));
    UT_IGZStream scene(*part);

    UT_WorkBuffer line;
    int64 second = 0;
    for (int number = 1; scene.getLine(line); ++number)
    {
        printf("%d: %s\n", number, line.buffer());
        if (number == 1)
            second = scene.tellg();
    }

    // Back to where the second line starts: it is decompressed once more.
    if (scene.seekg(second) && scene.getWord(line))
        printf("byte %d: %s\n", int(second), line.buffer());

    float radius = 0;
    scene.aread(&radius, 1);
    printf("radius %g\n", double(radius));

    while (scene.getNonCommentLine(line, '#') && line.length())
        printf("then %s\n", line.buffer());

    UT_IStream masked(new MaskedBuf("m`lq!3"), UT_ISTREAM_ASCII);
    while (masked.getWord(line))
        printf("unmasked %s\n", line.buffer());
}
