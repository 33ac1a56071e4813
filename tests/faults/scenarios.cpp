// The scenarios: what programs do with each family that calls the system.

#include "ut_Faults.h"
#include "ut_Scenario.h"

#include "UT/UT_Connection.h"
#include "UT/UT_Env.h"
#include "UT/UT_EnvControl.h"
#include "UT/UT_ErrorManager.h"
#include "UT/UT_IStream.h"
#include "UT/UT_NetSocket.h"
#include "UT/UT_PathSearch.h"
#include "UT/UT_String.h"
#include "UT/UT_TempFile.h"
#include "UT/UT_Thread.h"
#include "UT/UT_ThreadSet.h"
#include "UT/UT_WorkBuffer.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <unistd.h>
#include <zlib.h>

// ---- Exchanges

static bool
utConnection()
{
    UT_Connection connection(theServerPort, "localhost", /*timeoutMs=*/20000);
    UT_WorkBuffer reply;
    const bool isRight = connection.evaluate("1", reply);
    utExpect(
        isRight == (connection.result() == UT_CONNECTION_OK),
        "the result differs");
    utExpect(
        isRight == (*connection.message() == '\0'), "a failure has no message");
    utExpect(reply.buffer() == (isRight ? theReply : ""), "another reply");
    return isRight;
}

static bool
utNonBlocking()
{
    UT_WorkBuffer reply;
    const bool isRight = UT_NetSocket::nonBlockingSendCommandAndGetResult(
        theServerPort, "1", reply, "localhost", true);
    utExpect(!isRight || reply.buffer() == theReply, "another reply");
    return isRight;
}

// ---- A server

static bool
utServe()
{
    UT_NetSocket listener(0, /*blocking=*/1);
    if (!listener.isValid())
        return false;
    utPauseFaults(1);
    UT_NetSocket client("localhost", listener.getPort(), /*blocking=*/true, 0);
    utExpect(client.connect(1000) == 0, "a valid listener does not listen");
    client.write("question", 9, nullptr);
    utPauseFaults(-1);
    int status = 0;
    const std::unique_ptr<UT_NetSocket> peer(
        listener.dataAvailable(1000) == 1 ? listener.accept(1, status)
                                          : nullptr);
    UT_WorkBuffer question;
    char address[16];
    int port = 0;
    if (!peer || peer->read(question, 1000, /*untilNul=*/true) != 0 ||
        peer->getRemoteSocket(address, port) != 0)
        return false;
    utExpect(!strcmp(question.buffer(), "question"), "another question");
    utExpect(!strcmp(address, "127.0.0.1"), "another peer");
    return true;
}

// ---- Streams

static const int theLines = 3000;

// A file of theLines lines; "wT" writes it as it is, "w" compressed.
static std::string
utFileOfLines(const char *name, const char *mode)
{
    const ut_FaultPause pause;
    const std::string path = theFolder + name;
    if (access(path.c_str(), F_OK) == 0)
        return path;
    const gzFile file = gzopen(path.c_str(), mode);
    for (int i = 0; i < theLines; ++i)
        gzprintf(file, "%d words in this line\n", i);
    gzclose(file);
    return path;
}

// Reads all lines. What a failure has cut is a result, too, and shows only at
// the buffer or by the next call.
static bool
utReadLines(UT_IStream &in)
{
    UT_WorkBuffer line;
    for (int i = 0; i < theLines; ++i)
    {
        char wanted[64];
        snprintf(wanted, sizeof(wanted), "%d words in this line", i);
        const bool isRight = in.getLine(line) && !strcmp(line.buffer(), wanted);
        if (in.getStreamBuf()->hasError())
            return false;
        utExpect(isRight, "another line");
    }
    utExpect(!in.getLine(line), "more lines");
    return !in.hasError();
}

// A file, and a compressed one.
static bool
utReadFiles()
{
    const std::string path = utFileOfLines("lines", "wT");
    UT_IFStream in(path.c_str(), UT_ISTREAM_ASCII);
    if (in.hasError() || !utReadLines(in) || !in.close())
        return false;
    const std::string compressed = utFileOfLines("lines.gz", "w");
    UT_IFStream file(compressed.c_str(), UT_ISTREAM_ASCII);
    UT_IGZStream text(file);
    return !text.hasError() && utReadLines(text);
}

// ---- Writing

static bool
utSave()
{
    const UT_String text((std::string(30000, 'x') + "\"\\ end").c_str(), 1);
    const std::unique_ptr<std::iostream> stream = UTtmpStream();
    if (!text.save(*stream, /*binary=*/true) || !stream->flush())
        return false;
    stream->seekg(0);
    UT_IStream in(*stream, UT_ISTREAM_BINARY);
    UT_String loaded;
    if (!loaded.load(in))
        return false;
    utExpect(loaded == text, "another text");
    UT_TempFile file("fault");
    if (!file.isValid())
        return false;
    fputs("text", file.getFile());
    if (!file.close())
        return false;
    const ut_FaultPause pause;
    std::string written;
    std::ifstream(file.getPath()) >> written;
    utExpect(written == "text", "another text in the file");
    return true;
}

// Each run has a text of its own: the log leaves out repetitions.
static bool
utLog()
{
    static int theRuns = 0;
    utPauseFaults(1);
    const std::string name =
        "file" + std::string(300, 'x') + std::to_string(++theRuns);
    utPauseFaults(-1);
    UTpushErrorManager();
    UTaddCommonError(UT_CE_FILE_ERROR, name.c_str());
    UT_String message;
    const int count =
        UTgetErrorManager()->getErrorMessages(message, UT_ERROR_NONE, 0);
    UTpopErrorManager();
    utExpect(count == 1, "the error is not there");
    const ut_FaultPause pause;
    std::ifstream in(theFolder + "log");
    const std::string log(std::istreambuf_iterator<char>(in), {});
    utExpect(
        log.empty() || log.back() == '\n', "a part of a line is in the log");
    const std::string text = "File operation failed: " + name;
    return log.find(text + '\n') != log.npos && message.buffer() == text;
}

// ---- Workers

static void *
utCount(void *counter)
{
    ++*static_cast<std::atomic<int> *>(counter);
    return nullptr;
}

static void *
utStay(void *)
{
    for (;;)
        pause();
}

static bool
utWorkers()
{
    const std::unique_ptr<UT_Thread> killed(
        UT_Thread::allocThread(UT_Thread::SPIN_SLEEP));
    const bool isKilled =
        killed->startThread(utStay, nullptr) && killed->killThread() == 0;
    std::atomic<int> counters[4] = {};
    {
        UT_ThreadSet set(4);
        set.myFunction = utCount;
        set.myJobData = counters;
        set.myStride = sizeof(counters[0]);
        for (int i = 0; i < 3; ++i)
        {
            set.go();
            set.wait(1);
        }
    }
    for (const std::atomic<int> &each : counters)
        utExpect(each == 3, "a job has not run");
    std::atomic<int> jobs(0);
    int started = 0;
    {
        UT_ThreadFarm farm(3);
        for (int i = 0; i < 20; ++i)
            started += farm.nextThread(nullptr, 1)->startThread(utCount, &jobs);
        farm.wait();
    }
    utExpect(jobs == started, "a job that was started has not run");
    return isKilled && started == 20;
}

// ---- Settings, paths

static bool
utSettings()
{
    ValdrinSetenv("FAULT", "value");
    const char *const value = ValdrinGetenv("FAULT");
    utExpect(value && !strcmp(value, "value"), "another value");
    ValdrinUnsetenv("FAULT");
    utExpect(!ValdrinGetenv("FAULT"), "a variable that was removed");
    UT_EnvControl::setStringVar(UT_VALDRIN_DESKTOP_DIR, "/desktop");
    utExpect(
        !strcmp(UT_EnvControl::getString(UT_VALDRIN_DESKTOP_DIR), "/desktop"),
        "another setting");
    return true;
}

static bool
utPaths()
{
    UT_PathSearch::varChanged("VALDRIN_PATH");
    utFileOfLines("lines", "wT");
    UT_String found;
    const bool isFound = UT_PathSearch::getInstance(UT_PATH_MAIN)
                             ->valdrinFindFile("lines", found);
    utExpect(!isFound || theFolder + "lines" == found.buffer(), "another file");
    std::string made = theFolder + "made/deep";
    const int isMade = ValdrinMakeDirectory(made.data(), 0777);
    const ut_FaultPause pause;
    utExpect(
        !isMade || access(made.c_str(), F_OK) == 0, "a directory is missing");
    rmdir(made.c_str());
    rmdir((theFolder + "made").c_str());
    return isFound && isMade;
}

// A request that was written in part is not continued.
const ut_Scenario theScenarios[] = {
    {"connection",  utConnection,  false, false},
    {"nonblocking", utNonBlocking, true,  false},
    {"serve",       utServe,       true,  false},
    {"lines",       utReadFiles,   false, false},
    {"save",        utSave,        false, false},
    {"log",         utLog,         false, true },
    {"workers",     utWorkers,     false, false},
    {"settings",    utSettings,    false, false},
    {"paths",       utPaths,       false, false},
    {"objects",     utObjects,     false, false},
};
const unsigned theScenarioCount = std::size(theScenarios);
