// Runs a fuzz entry over its corpus as an ordinary test: every file as it is,
// cut short, and with bytes changed at random. The same bytes each time.

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int
LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace
{

using ut_Bytes = std::vector<std::uint8_t>;

std::string theFile; // whose input is tried

void
utSayFile(int)
{
    std::fprintf(stderr, "on %s, or a damaged copy\n", theFile.c_str());
}

// Each input lies in a block of just its size, for the sanitizers to guard.
void
utRun(const ut_Bytes &input)
{
    ut_Bytes block(input);
    block.shrink_to_fit();
    LLVMFuzzerTestOneInput(block.data(), block.size());
}

void
utRunDamaged(const ut_Bytes &input, std::mt19937 &random)
{
    for (int run = 0; run < 64; ++run)
    {
        ut_Bytes damaged(input);
        if (damaged.empty())
            return;
        for (auto left = random() % 4 + 1; left > 0; --left)
        {
            const auto place = random() % damaged.size();
            damaged[place] = static_cast<std::uint8_t>(random());
        }
        if (run % 4 == 0)
            damaged.resize(random() % damaged.size());
        utRun(damaged);
    }
}

} // namespace

int
main(int argc, char **argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: %s CORPUS\n", argv[0]);
        return 2;
    }
    std::vector<std::filesystem::path> files;
    for (const auto &entry : std::filesystem::directory_iterator(argv[1]))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    std::signal(SIGABRT, utSayFile);
    std::mt19937 random(1);
    for (const auto &file : files)
    {
        theFile = file;
        std::ifstream in(file, std::ios::binary);
        const ut_Bytes input(std::istreambuf_iterator<char>(in), {});
        utRun(input);
        utRunDamaged(input, random);
    }
    std::printf("%zu inputs replayed\n", files.size());
    return files.empty();
}
