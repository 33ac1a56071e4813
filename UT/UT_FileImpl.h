// The owner of a C stream, for functions that may throw while it is open.

#pragma once

#include <cstdio>
#include <memory>

struct ut_CloseFile
{
    void operator()(FILE *file) const { fclose(file); }
};

using ut_FileOwner = std::unique_ptr<FILE, ut_CloseFile>;
