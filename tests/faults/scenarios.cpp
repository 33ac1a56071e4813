// The scenarios: what programs do with each family that calls the system.

#include "ut_Faults.h"
#include "ut_LoopbackServer.h"
#include "ut_UseComponent.h"

#include "UT/UT_Connection.h"
#include "UT/UT_Env.h"
#include "UT/UT_EnvControl.h"
#include "UT/UT_ErrorLog.h"
#include "UT/UT_ErrorManager.h"
#include "UT/UT_IStream.h"
#include "UT/UT_MachineInfo.h"
#include "UT/UT_NetSocket.h"
#include "UT/UT_Path.h"
#include "UT/UT_PathSearch.h"
#include "UT/UT_SpecialDir.h"
#include "UT/UT_String.h"
#include "UT/UT_TempFile.h"
#include "UT/UT_Thread.h"
#include "UT/UT_ThreadSet.h"
#include "UT/UT_WorkBuffer.h"
#include "UT/UT_Write.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

extern "C" ut_EntryPoint NSGetModule;

// ---- Exchanges

static bool
utComponent()
{
    return utUseComponent(NSGetModule);
}

static bool
utConnection()
{
    UT_Connection connection(utPort(), "localhost", /*timeoutMs=*/20000);
    UT_WorkBuffer reply;
    const bool isRight = connection.evaluate("1", reply);
    utExpect(
        isRight == (connection.result() == UT_CONNECTION_OK),
        "the result differs");
    utExpect(
        isRight == (*connection.message() == '\0'), "a failure has no message");
    utExpect(
        strcmp(reply.buffer(), isRight ? utReply() : "") == 0, "another reply");
    return isRight;
}

static bool
utRequest()
{
    char *reply = nullptr;
    char *message = nullptr;
    const UT_ConnectionResult result = UTsendRequest(
        UT_REQUEST_RUN, "1", utPort(), nullptr, 0, &reply, &message);
    const bool isRight = result == UT_CONNECTION_OK;
    utExpect(!isRight || !strcmp(reply, utReply()), "another reply");
    free(reply);
    free(message);
    return isRight;
}

static bool
utNonBlocking()
{
    UT_WorkBuffer reply;
    const bool isRight = UT_NetSocket::nonBlockingSendCommandAndGetResult(
        utPort(), "1", reply, "localhost", true);
    utExpect(!isRight || !strcmp(reply.buffer(), utReply()), "another reply");
    return isRight;
}

// ---- A server

static int
utConnectTo(int port)
{
    const ut_FaultPause pause;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(uint16(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)))
    {
        close(fd);
        return -1;
    }
    (void)!write(fd, "question", 9);
    return fd;
}

static bool
utServe()
{
    UT_NetSocket listener(0, /*blocking=*/1);
    if (!listener.isValid())
        return false;
    const ut_TestDescriptor client(utConnectTo(listener.getPort()));
    utExpect(client.get() >= 0, "a valid listener does not listen");
    const bool isThere = listener.dataAvailable(1000) == 1;
    int status = 0;
    const std::unique_ptr<UT_NetSocket> peer(
        isThere ? listener.accept(1, status) : nullptr);
    utExpect(!isThere || peer || status, "nobody is accepted, and no reason");
    UT_WorkBuffer question;
    char first[2] = "";
    const bool isPeeked = peer && peer->peek(first, 1, 1000) == 0;
    const bool isRead =
        isPeeked && peer->read(question, 1000, /*untilNul=*/true) == 0;
    int written = 0;
    const bool isWritten =
        isRead && peer->write("answer", 7, &written) == 0 && written == 7;
    char text[16];
    int port = 0;
    int address[4];
    const bool hasPeer = isWritten && peer->getRemoteSocket(text, port) == 0 &&
                         peer->getRemoteIP4(address);
    const ut_FaultPause pause;
    char answer[8] = "";
    if (isWritten)
        (void)!read(client.get(), answer, sizeof(answer));
    utExpect(!isPeeked || first[0] == 'q', "another byte was peeked at");
    utExpect(
        !isRead || !strcmp(question.buffer(), "question"), "another question");
    utExpect(!isWritten || !strcmp(answer, "answer"), "another answer");
    utExpect(!hasPeer || !strcmp(text, "127.0.0.1"), "another peer");
    return hasPeer;
}

static bool
utLookUp()
{
    unsigned char octets[4] = {};
    const bool isRight = UT_NetSocket::getHostAddress(octets, "localhost");
    utExpect(!isRight || octets[0] == 127, "another address");
    UT_String name;
    const bool hasName = UT_NetSocket::getHostNameByAlias(name, "127.0.0.1");
    const int port = UT_NetSocket::getPortByService("http", "tcp", -1);
    utExpect(port == 80 || port == -1, "another port");
    return isRight && hasName;
}

// ---- Streams

// Whether the text is that of a line, without its newline.
static bool
utIsLine(const char *text, int number)
{
    char wanted[64];
    snprintf(wanted, sizeof(wanted), "%d words 2.5 in this line", number);
    return !strcmp(text, wanted);
}

static const int theLines = 3000;

// A file of theLines lines, plain and compressed.
static std::string
utFileOfLines(bool isCompressed)
{
    const ut_FaultPause pause;
    const std::string path =
        utFolder() + std::string(isCompressed ? "lines.gz" : "lines");
    if (access(path.c_str(), F_OK) == 0)
        return path;
    std::string all;
    for (int i = 0; i < theLines; ++i)
        all += std::to_string(i) + " words 2.5 in this line\n";
    if (isCompressed)
    {
        gzFile file = gzopen(path.c_str(), "wb");
        gzwrite(file, all.data(), unsigned(all.size()));
        gzclose(file);
    }
    else
        std::ofstream(path, std::ios::binary) << all;
    return path;
}

// Reads all lines, also as values. What a failure has cut is a result, too, and
// shows only at the buffer or by the next call.
static bool
utReadLines(UT_IStream &in)
{
    UT_WorkBuffer line;
    for (int i = 0; i < theLines; ++i)
    {
        bool isRight = false;
        if (i % 3 == 0)
        {
            int number = -1;
            float value = 0;
            isRight = in.aread(&number, 1) == 1 && number == i &&
                      in.getWord(line) && in.aread(&value, 1) == 1 &&
                      value == 2.5f && in.skipLine();
        }
        else
            isRight = in.getLine(line) && utIsLine(line.buffer(), i);
        if (in.getStreamBuf()->hasError())
            return false;
        utExpect(isRight, "another line");
    }
    utExpect(!in.getLine(line), "more lines");
    return !in.hasError();
}

static bool
utReadFile()
{
    const std::string path = utFileOfLines(false);
    UT_IFStream in(path.c_str(), UT_ISTREAM_ASCII);
    return !in.hasError() && utReadLines(in) && in.close();
}

// A FILE whose bytes come from read(), which the C library's own do not.
static FILE *
utOpenFile(const std::string &path)
{
    const ut_FaultPause pause;
    cookie_io_functions_t functions = {};
    functions.read = [](void *fd, char *bytes, size_t count)
    { return read(int(intptr_t(fd)), bytes, count); };
    functions.close = [](void *fd) { return close(int(intptr_t(fd))); };
    const intptr_t fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    return fopencookie(reinterpret_cast<void *>(fd), "r", functions);
}

struct ut_CloseFile
{
    void operator()(FILE *file) const
    {
        const ut_FaultPause pause;
        fclose(file);
    }
};

static bool
utReadOwnFile()
{
    const std::string path = utFileOfLines(false);
    {
        const std::unique_ptr<FILE, ut_CloseFile> file(utOpenFile(path));
        UT_IStream in(file.get(), UT_ISTREAM_ASCII);
        if (!utReadLines(in))
            return false;
    }
    const std::unique_ptr<FILE, ut_CloseFile> file(utOpenFile(path));
    UT_WorkBuffer line;
    for (int i = 0; i < theLines; ++i)
    {
        const bool isRead = line.getline(file.get());
        if (ferror(file.get()))
            return false;
        utExpect(isRead, "fewer lines");
        utExpect(utIsLine(line.buffer(), i), "another line");
    }
    return true;
}

static bool
utReadStream()
{
    std::ifstream file(utFileOfLines(false), std::ios::binary);
    UT_IStream in(file, UT_ISTREAM_ASCII);
    return file.is_open() && utReadLines(in);
}

static bool
utReadGzip()
{
    const std::string path = utFileOfLines(true);
    UT_IFStream file(path.c_str(), UT_ISTREAM_ASCII);
    UT_IGZStream in(file);
    return !in.hasError() && utReadLines(in);
}

// ---- Writing

static bool
utSave()
{
    const std::string wanted = std::string(30000, 'x') + "\"\\ end";
    const UT_String text(wanted.c_str());
    const std::unique_ptr<std::iostream> stream = UTtmpStream();
    const int number = 1234567;
    if (!text.save(*stream, /*binary=*/false) ||
        !text.save(*stream, /*binary=*/true) ||
        !UTbwrite(*stream, &number, 1) || !stream->flush())
        return false;
    stream->seekg(0);
    UT_IStream in(*stream, UT_ISTREAM_ASCII);
    UT_String loaded;
    if (!loaded.load(in))
        return false;
    utExpect(loaded == text, "another text");
    in.pushBinary(UT_ISTREAM_BINARY);
    UT_String binary;
    if (!binary.load(in))
        return false;
    utExpect(binary == text, "another text in binary");
    int found = 0;
    if (in.bread(&found, 1) != 1)
        return false;
    utExpect(found == number, "another number");
    return true;
}

static bool
utTempFile()
{
    std::string path;
    {
        UT_TempFile file("fault");
        if (!file.isValid())
            return false;
        path = file.getPath();
        fputs("text", file.getFile());
        if (!file.close())
            return false;
        std::string text;
        {
            const ut_FaultPause pause;
            std::ifstream(path) >> text;
        }
        utExpect(text == "text", "another text");
    }
    UT_String name;
    UTgetTmpName(name, "fault");
    FILE *const nameless = UTtmpFile();
    if (nameless)
        fclose(nameless);
    return nameless && *name.buffer();
}

// The clock of the library, which finds this one first: texts are no
// repetitions, and are forgotten.
static long long theTime = 1000000000;

extern "C" UT_API time_t
time(time_t *) noexcept
{
    return time_t(theTime);
}

extern "C" UT_API int64 utTime64(int64 *) noexcept __asm__("__time64");

int64
utTime64(int64 *) noexcept
{
    return theTime;
}

static bool
utLog()
{
    std::string path;
    std::string name;
    {
        const ut_FaultPause pause;
        theTime += 10;
        path = utFolder() + std::string("log");
        name = "file" + std::string(300, 'x');
        unlink(path.c_str());
    }
    UTpushErrorManager();
    struct ut_Pop
    {
        ~ut_Pop() { UTpopErrorManager(); }
    } const pop;
    // Where the texts are. This path's list comes from that of the main one.
    const UT_StringArray &directories =
        UT_PathSearch::getInstance(UT_PATH_HELP)->getDirectories();
    const UT_String last(directories(directories.entries() - 1));
    const bool hasData = last.endsWith("/share/valdrin/help");
    UTaddCommonError(UT_CE_FILE_ERROR, name.c_str());
    UT_String message;
    const int count =
        UTgetErrorManager()->getErrorMessages(message, UT_ERROR_NONE, 0);
    utExpect(count == 1, "the error is not there");
    const ut_FaultPause pause;
    std::ifstream in(path);
    const std::string line(std::istreambuf_iterator<char>(in), {});
    // Without its file the message is another one, but it is whole.
    const auto endsWith = [&](const std::string &text)
    {
        return line.size() > text.size() &&
               line.compare(line.size() - text.size(), text.size(), text) == 0;
    };
    const bool isRight = endsWith("File operation failed: " + name + '\n');
    utExpect(
        isRight || line.empty() || endsWith("Common: unknown error: 4\n"),
        "a part of a line is in the log");
    return hasData && isRight &&
           message.buffer() == "File operation failed: " + name;
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

// ---- Settings, paths, the machine

static bool
utSettings()
{
    ValdrinSetenv("FAULT_A", "value");
    ValdrinPutenv("FAULT_B=other");
    const char *const value = ValdrinGetenv("FAULT_A");
    utExpect(value && !strcmp(value, "value"), "another value");
    ValdrinUnsetenv("FAULT_A");
    ValdrinUnsetenv("FAULT_B");
    utExpect(!ValdrinGetenv("FAULT_A"), "a variable that was removed");
    UT_EnvControl::setStringVar(UT_VALDRIN_DESKTOP_DIR, "/desktop");
    utExpect(
        !strcmp(UT_EnvControl::getString(UT_VALDRIN_DESKTOP_DIR), "/desktop"),
        "another setting");
    ValdrinSetenv("VALDRIN_MAXTHREADS", "3");
    UT_EnvControl::varChanged("VALDRIN_MAXTHREADS");
    utExpect(
        UT_EnvControl::getInt(UT_VALDRIN_MAXTHREADS) == 3, "another number");
    return true;
}

static bool
utPaths()
{
    UT_PathSearch::varChanged("VALDRIN_PATH");
    utFileOfLines(false);
    UT_String found;
    const bool isFound = UT_PathSearch::getInstance(UT_PATH_MAIN)
                             ->valdrinFindFile("lines", found);
    utExpect(
        !isFound || utFolder() + std::string("lines") == found.buffer(),
        "another file");
    UT_String path("a/../b");
    UTmakeAbsoluteFilePath(path, "/x");
    utExpect(!strcmp(path, "/x/b"), "another path");
    std::string made = utFolder() + std::string("made/deep");
    const int isMade = ValdrinMakeDirectory(made.data(), 0777);
    const ut_FaultPause pause;
    utExpect(
        !isMade || access(made.c_str(), F_OK) == 0, "a directory is missing");
    rmdir(made.c_str());
    rmdir((utFolder() + std::string("made")).c_str());
    return isFound && isMade;
}

static bool
utMachine()
{
    UT_MachineInfo info;
    UTdescribeMachine(info);
    utExpect(info.usedProcessors > 0, "no processor");
    return info.configuredProcessors > 0;
}

// ---- Programs

// Runs valdrin with arguments; whether it exits with 0. Then its output is
// `wanted`, or is anything for null; otherwise it says why.
static bool
utRunValdrin(std::initializer_list<const char *> arguments, const char *wanted)
{
    const std::string outPath = utFolder() + std::string("out");
    const std::string errorPath = utFolder() + std::string("error");
    const pid_t process = fork();
    if (process == 0)
    {
        const int out = creat(outPath.c_str(), 0600);
        const int error = creat(errorPath.c_str(), 0600);
        dup2(out, STDOUT_FILENO);
        dup2(error, STDERR_FILENO);
        if (getenv("VALDRIN_FAULT"))
            setenv("LD_PRELOAD", VALDRIN_FAULT_LAYER, 1);
        std::vector<char *> words = {const_cast<char *>("valdrin")};
        for (const char *each : arguments)
            words.push_back(const_cast<char *>(each));
        words.push_back(nullptr);
        execv(VALDRIN_PROGRAM, words.data());
        _exit(126);
    }
    int status = -1;
    waitpid(process, &status, 0);
    const auto contents = [](const std::string &path)
    {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    if (WIFSIGNALED(status))
        utWrong(strsignal(WTERMSIG(status)));
    if (WEXITSTATUS(status))
    {
        utExpect(!contents(errorPath).empty(), "a failure without a message");
        return false;
    }
    const std::string written = contents(outPath);
    utExpect(!wanted || written == wanted, "another output");
    utExpect(!written.empty(), "no output");
    return true;
}

static bool
utValdrinEval()
{
    const std::string port = std::to_string(utPort());
    return utRunValdrin({"eval", "1", "--port", port.c_str()}, utReply());
}

static bool
utValdrinCheck()
{
    const std::string port = std::to_string(utPort());
    return utRunValdrin(
        {"eval", "1", "--check", "--port", port.c_str()}, utReply());
}

static bool
utValdrinEnv()
{
    return utRunValdrin({"env", "--json"}, nullptr);
}

static bool
utValdrinInfo()
{
    return utRunValdrin({"info"}, nullptr);
}

const ut_Scenario theScenarios[] = {
  // A request that was written in part is not continued.
    {"component",     utComponent,    false, true,  false},
    {"connection",    utConnection,   false, false, false},
    {"request",       utRequest,      false, false, false},
    {"nonblocking",   utNonBlocking,  false, true,  false},
    {"serve",         utServe,        false, true,  false},
    {"look-up",       utLookUp,       false, false, false},
    {"lines",         utReadFile,     false, false, false},
    {"own-file",      utReadOwnFile,  false, true,  false},
    {"stream",        utReadStream,   false, true,  false},
    {"gzip",          utReadGzip,     false, false, false},
    {"save",          utSave,         false, false, false},
    {"temporary",     utTempFile,     false, false, false},
    {"log",           utLog,          false, false, false},
    {"workers",       utWorkers,      false, false, false},
    {"settings",      utSettings,     false, false, false},
    {"paths",         utPaths,        false, false, false},
    {"objects",       utObjects,      false, false, false},
    {"machine",       utMachine,      false, false, false},
    {"valdrin-eval",  utValdrinEval,  true,  true,  false},
    {"valdrin-check", utValdrinCheck, true,  false, false},
    {"valdrin-env",   utValdrinEnv,   true,  false, false},
    {"valdrin-info",  utValdrinInfo,  true,  false, false},
    {nullptr,         nullptr,        false, false, false},
};
