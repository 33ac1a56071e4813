// Workers that are killed at any moment of what the toolkit does: the program
// goes on, no lock stays held, and no file stays open or lies around.

#include "UT/UT_Thread.h"

#include "ut_LoopbackServer.h"
#include "ut_TempDir.h"

#include "SYS/SYS_Memory.h"
#include "SYS/SYS_Processor.h"
#include "UT/UT_ErrorLog.h"
#include "UT/UT_ErrorManager.h"
#include "UT/UT_IStream.h"
#include "UT/UT_Lock.h"
#include "UT/UT_NetSocket.h"
#include "UT/UT_QuickSort.h"
#include "UT/UT_String.h"
#include "UT/UT_SymbolTable.h"
#include "UT/UT_SysResource.h"
#include "UT/UT_TempFile.h"
#include "UT/UT_ThreadSet.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <mutex>
#include <random>
#include <string>

#include <sys/ioctl.h>
#include <unistd.h>
#include <zlib.h>

using std::chrono::microseconds;
using std::chrono::steady_clock;

namespace
{

// What all workers share.
struct ut_World
{
    ut_World()
    {
        setenv("VALDRIN_TEMP_DIR", dir.path().c_str(), /*overwrite=*/1);
        setenv(
            "VALDRIN_ERRORLOG_FILENAME", dir.path("log").c_str(),
            /*overwrite=*/1);
        std::string text;
        for (int i = 0; i < 1000; ++i)
            text += "line " + std::to_string(i) + '\n';
        dir.write("text", text);
        const gzFile file = gzopen(dir.path("text.gz").c_str(), "wb");
        gzwrite(file, text.data(), unsigned(text.size()));
        gzclose(file);
        // The settings are one thread's to make.
        UTgetErrorLog();
        UTgetErrorManager();
    }

    ut_TempDir dir;
    ut_LoopbackServer server{{ut_LoopbackServer::echo()}};
    UT_Lock lock;
    UT_SymbolTable table; // guarded by the lock
};

ut_World &
utWorld()
{
    static ut_World theWorld;
    return theWorld;
}

// Nothing can be killed as long as it lives: for what others than the toolkit
// open and close.
class ut_Unkillable
{
public:
    ut_Unkillable()
    {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &myState);
    }
    ~ut_Unkillable() { pthread_setcancelstate(myState, nullptr); }
    ut_Unkillable(const ut_Unkillable &) = delete;
    ut_Unkillable &operator=(const ut_Unkillable &) = delete;

private:
    int myState;
};

// A file of the C library, and a stream of the C++ library, for reading.
struct ut_StandardFile
{
    explicit ut_StandardFile(const std::string &path)
    {
        const ut_Unkillable guard;
        file = fopen(path.c_str(), "re");
        stream.open(path);
    }
    ~ut_StandardFile()
    {
        const ut_Unkillable guard;
        fclose(file);
        stream.close();
    }
    ut_StandardFile(const ut_StandardFile &) = delete;
    ut_StandardFile &operator=(const ut_StandardFile &) = delete;

    FILE *file;
    std::ifstream stream;
};

void
exchange(ut_World &world)
{
    UT_WorkBuffer reply;
    UT_NetSocket::sendCommandAndGetResult(
        world.server.port(), "echo", reply, nullptr, false);
}

void
exchangeWithoutBlocking(ut_World &world)
{
    UT_WorkBuffer reply;
    UT_NetSocket::nonBlockingSendCommandAndGetResult(
        world.server.port(), "echo", reply, nullptr, false);
}

void
logAnError(ut_World &)
{
    UT_Error error("Common", 4, "text", UT_ERROR_ERROR);
    UTgetErrorLog()->logError(&error);
}

void
addErrors(ut_World &)
{
    UT_ErrorManager manager;
    manager.commonError(4, "text");
    errno = ENOENT;
    manager.systemError("text");
    UT_String messages;
    manager.getErrorMessages(messages, UT_ERROR_NONE, /*prefixes=*/1);
}

void
readLines(ut_World &world)
{
    UT_IFStream in(world.dir.path("text").c_str(), UT_ISTREAM_ASCII);
    UT_WorkBuffer line;
    while (in.getLine(line))
        ;
}

void
reopenAFile(ut_World &world)
{
    UT_IFStream in;
    for (int i = 0; i < 3; ++i)
        in.open(world.dir.path("text").c_str(), UT_ISTREAM_ASCII);
    in.close();
}

void
readGzip(ut_World &world)
{
    UT_IFStream file(world.dir.path("text.gz").c_str(), UT_ISTREAM_ASCII);
    UT_IGZStream in(file);
    const std::unique_ptr<UT_IStream> part(in.getSubStream(100, 1000));
    UT_WorkBuffer text;
    part->getAll(text);
}

void
readAStandardStream(ut_World &world)
{
    ut_StandardFile source(world.dir.path("text"));
    UT_IStream in(source.stream, UT_ISTREAM_ASCII);
    UT_WorkBuffer line;
    while (in.getLine(line))
        ;
}

void
readALineOfAFile(ut_World &world)
{
    const ut_StandardFile source(world.dir.path("text"));
    UT_WorkBuffer line;
    while (line.getline(source.file))
        ;
}

void
useATemporaryFile(ut_World &)
{
    UT_TempFile file("killed");
    fputs("text", file.getFile());
    file.close();
}

void
useATemporaryStream(ut_World &)
{
    const std::unique_ptr<std::iostream> stream = UTtmpStream();
    *stream << "text" << std::flush;
}

void
sort(ut_World &)
{
    unsigned keys[500];
    for (unsigned i = 0; i < 500; ++i)
        keys[i] = i * 2654435761u;
    UT_QuickSort().sort(keys, 500, /*makeIndex=*/1, /*isSigned=*/false);
}

void
useASymbolTable(ut_World &)
{
    UT_SymbolTable table;
    for (int i = 0; i < 300; ++i)
        table.addSymbol(std::to_string(i).c_str(), UT_Thing(i));
}

void
shareASymbolTable(ut_World &world)
{
    for (int i = 0; i < 20; ++i)
    {
        world.lock.lockLW();
        const std::lock_guard<UT_Lock> guard(world.lock, std::adopt_lock);
        const std::string name = std::to_string(i);
        if (!world.table.deleteSymbol(name.c_str()))
            world.table.addSymbol(name.c_str(), UT_Thing(i));
    }
}

void
waitForALock(ut_World &)
{
    UT_DebugLock lock("worker", /*initiallyLocked=*/1);
    lock.lockNap(/*tries=*/1);
}

void
useAWorkBuffer(ut_World &)
{
    UT_WorkBuffer text;
    for (int i = 0; i < 500; ++i)
        text.appendSprintf("%d %s;", i, "text");
}

[[maybe_unused]] void
useWorkers(ut_World &)
{
    const auto job = [](void *) -> void * { return nullptr; };
    {
        UT_ThreadFarm farm(2);
        farm.nextThread(nullptr, 1)->startThread(job, nullptr);
    }
    UT_ThreadSet set(2);
    set.myFunction = job;
    set.go();
    set.wait(1);
    set.getThread(0)->killIdle();
    set.getThread(0)->waitThread(1);
}

[[maybe_unused]] void
askTheSystem(ut_World &)
{
    UT_SysResource().update(false);
    getProcMemUsage();
    parse_cpuinfo_for_nprocs();
    UT_String home("~root");
    home.expandVariables();
}

struct ut_Family
{
    const char *name;
    void (*work)(ut_World &);
};

void
PrintTo(const ut_Family &family, std::ostream *out)
{
    *out << family.name;
}

// A worker that does a family's work until it is killed.
class ut_Victim
{
public:
    explicit ut_Victim(const ut_Family &family)
        : myWork(family.work), myWorker(UT_Thread::SPIN_SLEEP)
    {
        myWorker.startThread(run, this);
    }
    // Kills the worker.
    ~ut_Victim() = default;
    ut_Victim(const ut_Victim &) = delete;
    ut_Victim &operator=(const ut_Victim &) = delete;

    // Waits until the work has begun.
    void waitForStart() const
    {
        while (!myIsStarted)
            sched_yield();
    }

private:
    static void *run(void *data)
    {
        auto &victim = *static_cast<ut_Victim *>(data);
        victim.myIsStarted = true;
        for (;;)
        {
            victim.myWork(utWorld());
            pthread_testcancel();
        }
    }

    void (*const myWork)(ut_World &);
    std::atomic<bool> myIsStarted{false};
    UT_PThread myWorker;
};

// Descriptors that are not sockets, of which the server has some.
int
utOpenFiles()
{
    int count = 0;
    std::error_code error;
    for (const auto &entry :
         std::filesystem::directory_iterator("/proc/self/fd"))
        if (std::filesystem::read_symlink(entry, error)
                .string()
                .find("socket:") == std::string::npos)
            ++count;
    return count;
}

int
utTemporaryFiles()
{
    int count = 0;
    for (const auto &entry :
         std::filesystem::directory_iterator(utWorld().dir.path()))
        count += entry.path().filename().string().find("killed") == 0;
    return count;
}

} // namespace

class UT_ThreadKill : public testing::TestWithParam<ut_Family>
{
};

TEST_P(UT_ThreadKill, LeavesNothingBehind)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "this checker loses track of a stack that is unwound from "
                    "within a call of the C library";
#endif
    // Kills of this family.
    const char *const asked = getenv("VALDRIN_TEST_KILLS");
    const int kills = asked ? atoi(asked) : 40;
    utWorld();
    const int openFiles = utOpenFiles();
    std::mt19937 random(1);
    testing::internal::CaptureStderr(); // locks have a word to say
    for (int i = 0; i < kills; i += 2)
    {
        const ut_Victim first(GetParam());
        const ut_Victim second(GetParam());
        first.waitForStart();
        second.waitForStart();
        const auto moment = steady_clock::now() + microseconds(random() % 1000);
        while (steady_clock::now() < moment)
            sched_yield();
    }
    // This waits forever for what a killed worker holds.
    GetParam().work(utWorld());
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(openFiles, utOpenFiles());
    EXPECT_EQ(0, utTemporaryFiles());
    EXPECT_TRUE(utWorld().lock.tryLock());
    utWorld().lock.unlock();
}

// A work buffer that a killed worker was reading into is still a text.
TEST(UT_Thread, ALineThatIsHalfReadIsEmpty)
{
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    struct
    {
        FILE *file;
        UT_WorkBuffer line;
    } reader;
    reader.file = fdopen(ends[0], "r");
    reader.line.append("an older text");
    ASSERT_EQ(4, write(ends[1], "half", 4));
    {
        UT_PThread worker(UT_Thread::SPIN_NEVER);
        const auto readLine = [](void *data) -> void *
        {
            auto &job = *static_cast<decltype(reader) *>(data);
            job.line.getline(job.file);
            return nullptr;
        };
        worker.startThread(readLine, &reader);
        int unread = 4;
        while (unread != 0) // until it waits for the rest
        {
            sched_yield();
            ioctl(ends[0], FIONREAD, &unread);
        }
    }
    EXPECT_EQ(0, reader.line.length());
    EXPECT_STREQ("", reader.line.buffer());
    fclose(reader.file);
    close(ends[1]);
}

// The thread checker gives up where a killed thread was waiting for another
// one, and waits for itself where the C library looks up users.
static const ut_Family theFamilies[] = {
    {"Exchange",                exchange               },
    {"ExchangeWithoutBlocking", exchangeWithoutBlocking},
    {"Log",                     logAnError             },
    {"Errors",                  addErrors              },
    {"Lines",                   readLines              },
    {"Reopening",               reopenAFile            },
    {"Gzip",                    readGzip               },
    {"StandardStream",          readAStandardStream    },
    {"LinesOfAFile",            readALineOfAFile       },
    {"TemporaryFile",           useATemporaryFile      },
    {"TemporaryStream",         useATemporaryStream    },
    {"Sort",                    sort                   },
    {"SymbolTable",             useASymbolTable        },
    {"SharedSymbolTable",       shareASymbolTable      },
    {"Lock",                    waitForALock           },
    {"WorkBuffer",              useAWorkBuffer         },
#ifndef __SANITIZE_THREAD__
    {"Workers",                 useWorkers             },
    {"System",                  askTheSystem           },
#endif
};

INSTANTIATE_TEST_SUITE_P(
    InTheMidstOf, UT_ThreadKill, testing::ValuesIn(theFamilies),
    [](const auto &family) { return std::string(family.param.name); });
