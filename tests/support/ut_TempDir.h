// A directory of its own for tests that need files.
//
//     ut_TempDir dir;
//     dir.write("notes", "text");
//     EXPECT_EQ("text", dir.read("notes"));

#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <stdlib.h>

// Lasts as long as the object, with all that is in it.
class ut_TempDir
{
public:
    ut_TempDir()
        : myPath((std::filesystem::temp_directory_path() / "utXXXXXX").string())
    {
        if (!mkdtemp(myPath.data()))
            throw std::runtime_error("no temporary directory");
    }
    ut_TempDir(const ut_TempDir &) = delete;
    ut_TempDir &operator=(const ut_TempDir &) = delete;
    ~ut_TempDir()
    {
        std::error_code ignored;
        std::filesystem::remove_all(myPath, ignored);
    }

    const std::string &path() const { return myPath; }
    std::string path(const std::string &name) const
    {
        return myPath + '/' + name;
    }

    // Puts the bytes into the file, which may be new, and returns its path.
    std::string write(const std::string &name, const std::string &bytes) const
    {
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }

    // All bytes of the file; none when there is no such file.
    std::string read(const std::string &name) const
    {
        std::ifstream in(path(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

private:
    std::string myPath;
};
