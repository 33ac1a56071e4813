// Runs a fuzz entry over its corpus as an ordinary test: every file as it is,
// cut short, and with bytes changed at random. The same bytes each time.

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>

void utTry(const std::string &input); // the entry

static std::string theFile; // whose input is tried

static void
utSayFile(int)
{
    std::fprintf(stderr, "on %s, or a damaged copy\n", theFile.c_str());
}

static void
utTryDamaged(const std::string &input, std::mt19937 &random)
{
    for (int run = 0; run < 64 && !input.empty(); ++run)
    {
        std::string damaged(input);
        for (auto left = random() % 4 + 1; left > 0; --left)
            damaged[random() % input.size()] = static_cast<char>(random());
        if (run % 4 == 0)
            damaged.resize(random() % damaged.size());
        utTry(damaged);
    }
}

int
main(int, char **argv)
{
    std::set<std::filesystem::path> files;
    for (const auto &entry : std::filesystem::directory_iterator(argv[1]))
        files.insert(entry.path());
    std::signal(SIGABRT, utSayFile);
    std::mt19937 random(1);
    for (const auto &file : files)
    {
        theFile = file;
        std::ifstream in(file, std::ios::binary);
        const std::string input(std::istreambuf_iterator<char>(in), {});
        utTry(input);
        utTryDamaged(input, random);
    }
    std::printf("%zu inputs replayed\n", files.size());
    return files.empty();
}
