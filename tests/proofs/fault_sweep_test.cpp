// Each call that the library makes of the C library fails once, in a process of its own: it must
// neither crash nor hang nor keep a descriptor, and whatever comes after must work. By default one
// fault per call; SENSORHUB_SWEEP=all tries all of them.

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "tests/proofs/LibraryCalls.h"
#include "tests/proofs/Session.h"

namespace {

using proofs::Session;

constexpr unsigned kTimeLimit = 30;  // seconds for one process
constexpr int kShort = -1;           // half of what was there
constexpr int kNothing = -2;         // an end of file, a null or 0

const std::map<std::string, std::vector<int>> kFaults = {
    {"open", {EIO, ENOENT, EINTR, EMFILE}},
    {"read", {EIO, kShort, EINTR, kNothing, EAGAIN}},
    {"write", {EIO, kShort, EINTR, ENOSPC, EAGAIN}},
    {"lseek", {EIO, ESPIPE}},
    {"ioctl", {EIO, EINTR, ENOMEM}},
    {"close", {EIO, EINTR}},  // the descriptor is gone all the same
    {"opendir", {ENOENT, ENOMEM, EIO}},
    {"readdir", {EIO}},
    {"remove", {EIO, ENOENT}},
    {"poll", {EINTR, ENOMEM, EIO}},
    {"mmap", {ENOMEM, EACCES}},
    {"ashmem_valid", {kNothing}},
    {"ashmem_get_size_region", {EIO, kShort}},
    {"localtime_r", {EOVERFLOW}},
    {"pthread_create", {EAGAIN}},
    {"operator new", {ENOMEM}},
};

// The process ends where these fail.
const std::vector<std::string> kFatal = {"operator new", "pthread_create"};

enum Phase { kStart, kRound, kEnd, kOver };

struct Point {
    std::string call;
    std::string subject;
    int nth;  // of the same call on the same subject, from 1
    Phase phase;
    int fault;

    std::string text() const {
        const std::string how = fault == kShort     ? "comes short"
                                : fault == kNothing ? "gives nothing"
                                                    : strerrordesc_np(fault);
        return call + " " + subject + " no. " + std::to_string(nth) + ": " + how;
    }
};

/** What a child leaves behind. */
struct Result {
    bool reached;
    bool finished;
    uint32_t lost;
    char complaint[160];
};

// In the child. ----------------------------------------------------------------------------------

std::mutex gLock;
Phase gPhase = kOver;
std::map<int, std::string> gSubjects;  // by descriptor
std::map<std::string, int> gCounts;
std::vector<Point>* gRecorded = nullptr;
const Point* gTarget = nullptr;
Result* gResult = nullptr;

/** Counts a call; the fault that it is to have, or 0. */
int faultOf(const char* call, const std::string& subject) {
    const std::lock_guard<std::mutex> lock(gLock);
    if (gPhase == kOver) return 0;
    const int nth = ++gCounts[std::string(call) + " " + subject];
    if (gRecorded != nullptr) gRecorded->push_back({call, subject, nth, gPhase, 0});
    if (gTarget == nullptr || gTarget->nth != nth || gTarget->call != call ||
        gTarget->subject != subject) {
        return 0;
    }
    gResult->reached = true;
    return gTarget->fault;
}

int faultOf(const char* call, int fd) {
    std::string subject;
    {
        const std::lock_guard<std::mutex> lock(gLock);
        subject = gSubjects[fd];
    }
    return faultOf(call, subject);
}

template <typename Result>
Result failed(int fault, Result result) {
    errno = fault > 0 ? fault : 0;
    return result;
}

// A replacement of each call, and what it stands for.
template <typename Function>
using Next = Function*;
Next<int(const char*, int, ...)> nextOpen = nullptr;
Next<ssize_t(int, void*, size_t)> nextRead = nullptr;
Next<ssize_t(int, void*, size_t, size_t)> nextReadChecked = nullptr;
Next<ssize_t(int, const void*, size_t)> nextWrite = nullptr;
Next<off64_t(int, off64_t, int)> nextLseek = nullptr;
Next<int(int, unsigned long, ...)> nextIoctl = nullptr;
Next<int(int)> nextClose = nullptr;
Next<DIR*(const char*)> nextOpendir = nullptr;
Next<dirent*(DIR*)> nextReaddir = nullptr;
Next<int(const char*)> nextRemove = nullptr;
Next<int(pollfd*, nfds_t, int)> nextPoll = nullptr;
Next<int(pollfd*, nfds_t, int, size_t)> nextPollChecked = nullptr;
Next<void*(void*, size_t, int, int, int, off_t)> nextMmap = nullptr;
Next<int(int)> nextAshmemValid = nullptr;
Next<int(int)> nextAshmemSize = nullptr;
Next<tm*(const time_t*, tm*)> nextLocaltime = nullptr;
Next<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)> nextCreate = nullptr;
Next<void*(size_t)> nextAllocate = nullptr;

int openFile(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    // Dumps carry the time.
    std::string subject = path;
    if (subject.find("/shub_dump_0") != std::string::npos) subject.resize(subject.size() - 15);
    if (const int fault = faultOf("open", subject)) return failed(fault, -1);
    const int fd = nextOpen(path, flags, mode);
    const std::lock_guard<std::mutex> lock(gLock);
    gSubjects[fd] = subject;
    return fd;
}

template <typename Read>
ssize_t readOr(int fd, Read read) {
    const int fault = faultOf("read", fd);
    if (fault > 0) return failed(fault, -1);
    if (fault == kNothing) return 0;
    const ssize_t count = read();
    return fault == kShort && count > 0 ? count / 2 : count;
}
ssize_t readFile(int fd, void* buffer, size_t size) {
    return readOr(fd, [=] { return nextRead(fd, buffer, size); });
}
ssize_t readChecked(int fd, void* buffer, size_t size, size_t room) {
    return readOr(fd, [=] { return nextReadChecked(fd, buffer, size, room); });
}
ssize_t writeFile(int fd, const void* buffer, size_t size) {
    const int fault = faultOf("write", fd);
    if (fault > 0) return failed(fault, -1);
    const ssize_t count = nextWrite(fd, buffer, size);
    return fault == kShort && count > 0 ? count / 2 : count;
}
off64_t seek(int fd, off64_t offset, int whence) {
    if (const int fault = faultOf("lseek", fd)) return failed<off64_t>(fault, -1);
    return nextLseek(fd, offset, whence);
}
int control(int fd, unsigned long request, ...) {
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    if (const int fault = faultOf("ioctl", fd)) return failed(fault, -1);
    return nextIoctl(fd, request, argument);
}
int closeFile(int fd) {
    const int fault = faultOf("close", fd);
    {
        const std::lock_guard<std::mutex> lock(gLock);
        gSubjects.erase(fd);
    }
    const int result = nextClose(fd);
    return fault != 0 ? failed(fault, -1) : result;
}
DIR* openDirectory(const char* path) {
    if (const int fault = faultOf("opendir", path)) return failed<DIR*>(fault, nullptr);
    return nextOpendir(path);
}
dirent* readDirectory(DIR* directory) {
    if (const int fault = faultOf("readdir", "")) return failed<dirent*>(fault, nullptr);
    return nextReaddir(directory);
}
int removeFile(const char* path) {
    if (const int fault = faultOf("remove", path)) return failed(fault, -1);
    return nextRemove(path);
}
int pollFiles(pollfd* fds, nfds_t count, int timeout) {
    if (const int fault = faultOf("poll", "")) return failed(fault, -1);
    return nextPoll(fds, count, timeout);
}
int pollChecked(pollfd* fds, nfds_t count, int timeout, size_t size) {
    if (const int fault = faultOf("poll", "")) return failed(fault, -1);
    return nextPollChecked(fds, count, timeout, size);
}
void* map(void* at, size_t size, int protection, int flags, int fd, off_t offset) {
    if (const int fault = faultOf("mmap", "")) return failed(fault, MAP_FAILED);
    return nextMmap(at, size, protection, flags, fd, offset);
}
int isRegion(int fd) {
    return faultOf("ashmem_valid", "") != 0 ? 0 : nextAshmemValid(fd);
}
int regionSize(int fd) {
    const int fault = faultOf("ashmem_get_size_region", "");
    if (fault > 0) return failed(fault, -1);
    return fault == kShort ? nextAshmemSize(fd) / 2 : nextAshmemSize(fd);
}
tm* localTime(const time_t* time, tm* result) {
    if (const int fault = faultOf("localtime_r", "")) return failed<tm*>(fault, nullptr);
    return nextLocaltime(time, result);
}
int createThread(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                 void* argument) {
    if (const int fault = faultOf("pthread_create", "")) return fault;
    return nextCreate(thread, attributes, run, argument);
}
void* allocate(size_t size) {
    if (faultOf("operator new", "") != 0) throw std::bad_alloc();
    return nextAllocate(size);
}

template <typename Function>
proofs::Redirected redirected(const char* name, Function* replacement, Function** next) {
    return {name, reinterpret_cast<void*>(replacement), reinterpret_cast<void**>(next)};
}

void redirectAll(void* library) {
    proofs::redirectCalls(
        library,
        {redirected("open", openFile, &nextOpen), redirected("read", readFile, &nextRead),
         redirected("__read_chk", readChecked, &nextReadChecked),
         redirected("write", writeFile, &nextWrite), redirected("lseek64", seek, &nextLseek),
         redirected("ioctl", control, &nextIoctl), redirected("close", closeFile, &nextClose),
         redirected("opendir", openDirectory, &nextOpendir),
         redirected("readdir", readDirectory, &nextReaddir),
         redirected("remove", removeFile, &nextRemove), redirected("poll", pollFiles, &nextPoll),
         redirected("__poll_chk", pollChecked, &nextPollChecked),
         redirected("mmap", map, &nextMmap), redirected("ashmem_valid", isRegion, &nextAshmemValid),
         redirected("ashmem_get_size_region", regionSize, &nextAshmemSize),
         redirected("localtime_r", localTime, &nextLocaltime),
         redirected("pthread_create", createThread, &nextCreate),
         redirected("_Znwm", allocate, &nextAllocate)});
}

void enter(Phase phase) {
    const std::lock_guard<std::mutex> lock(gLock);
    gPhase = phase;
}

/** What is open or mapped on behalf of the library, apart from the message device, which stays. */
std::vector<std::string> holdings() {
    std::vector<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const std::string target = std::filesystem::read_symlink(entry.path(), gone);
        if (!gone && target.find("hbx_sensorhub") == std::string::npos) all.push_back(target);
    }
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("memfd:client") != std::string::npos) all.push_back(line);
    }
    std::sort(all.begin(), all.end());
    return all;
}

/** One process: a start, a round, an end, one of them with the fault; then what must work. */
void runScenario() noexcept {
    Session session;
    const auto before = holdings();
    enter(kStart);
    session.start(redirectAll);
    enter(kRound);
    session.round();
    enter(kOver);
    gResult->lost = session.round();
    snprintf(gResult->complaint, sizeof(gResult->complaint), "%s", session.complaint().c_str());
    enter(kEnd);
    const bool ended = session.end();
    enter(kOver);
    if (!ended) snprintf(gResult->complaint, sizeof(gResult->complaint), "stays resident");
    const auto after = holdings();
    if (after != before) {
        std::vector<std::string> left;
        std::set_difference(after.begin(), after.end(), before.begin(), before.end(),
                            std::back_inserter(left));
        snprintf(gResult->complaint, sizeof(gResult->complaint), "left open: %zu, %s",
                 after.size() - before.size(), left.empty() ? "" : left.front().c_str());
    }
    gResult->finished = ended && after == before;
}

// In the parent. ---------------------------------------------------------------------------------

/** The calls of a run without faults, written down by a child. */
std::vector<Point> recordCalls() {
    const std::string path = testing::TempDir() + "calls." + std::to_string(getpid());
    const pid_t child = fork();
    if (child == 0) {
        alarm(kTimeLimit);
        Result result = {};
        std::vector<Point> calls;
        gResult = &result;
        gRecorded = &calls;
        runScenario();
        std::ofstream file(path);
        for (const Point& call : calls)
            file << call.call << '\t' << call.subject << '\t' << call.nth << '\t' << call.phase
                 << '\n';
        file.close();
        if (result.lost != 0 || !result.finished) std::cerr << result.complaint << '\n';
        _exit(result.lost == 0 && result.finished ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << "without a fault";
    std::vector<Point> calls;
    std::ifstream file(path);
    Point point = {};
    std::string number;
    while (std::getline(file, point.call, '\t') && std::getline(file, point.subject, '\t') &&
           std::getline(file, number, '\t')) {
        point.nth = std::stoi(number);
        std::getline(file, number);
        point.phase = static_cast<Phase>(std::stoi(number));
        calls.push_back(point);
    }
    std::filesystem::remove(path);
    return calls;
}

bool isFatal(const Point& point) {
    return std::count(kFatal.begin(), kFatal.end(), point.call) != 0;
}

/** One fault per call in turn, or each; of those that end the process, which all do, a few. */
std::vector<Point> choosePoints(const std::vector<Point>& calls, bool all) {
    std::vector<Point> points;
    std::map<std::string, size_t> turn;
    for (const Point& call : calls) {
        const std::vector<int>& faults = kFaults.at(call.call);
        const size_t seen = turn[call.call]++;
        if (!all && isFatal(call) && seen % 16 != 0) continue;
        for (size_t i = 0; i < faults.size(); ++i) {
            if (!all && seen % faults.size() != i) continue;
            points.push_back(call);
            points.back().fault = faults[i];
        }
    }
    return points;
}

class Sweep {
  public:
    explicit Sweep(const std::vector<Point>& points)
        : mPoints(points),
          mResults(static_cast<Result*>(mmap(nullptr, sizeof(Result) * points.size(),
                                             PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1,
                                             0))) {}
    ~Sweep() { munmap(mResults, sizeof(Result) * mPoints.size()); }
    Sweep(const Sweep&) = delete;
    Sweep& operator=(const Sweep&) = delete;

    void run() {
        const size_t atOnce = std::max(1U, std::thread::hardware_concurrency());
        for (size_t i = 0; i < mPoints.size(); ++i) {
            if (mRunning.size() == atOnce) collect();
            start(i);
        }
        while (!mRunning.empty())
            collect();
        report();
    }

  private:
    struct Child {
        size_t point;
        int output;
    };

    void start(size_t i) {
        const int output = memfd_create("output", MFD_CLOEXEC);
        const pid_t child = fork();
        if (child == 0) {
            dup2(output, STDERR_FILENO);
            alarm(kTimeLimit);
            gTarget = &mPoints[i];
            gResult = &mResults[i];
            runScenario();
            _exit(0);
        }
        mRunning[child] = {i, output};
    }

    void collect() {
        int status = 0;
        const auto child = mRunning.find(waitpid(-1, &status, 0));
        if (child == mRunning.end()) return;
        judge(mPoints[child->second.point], mResults[child->second.point], status,
              child->second.output);
        close(child->second.output);
        mRunning.erase(child);
    }

    void judge(const Point& point, const Result& result, int status, int output) {
        if (isFatal(point) && WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) {
            ++mFatal[point.call];
            return;
        }
        if (!result.reached) {
            ++mUnreached;
            return;
        }
        std::string what;
        if (WIFSIGNALED(status)) {
            what = std::string("ended by ") + strsignal(WTERMSIG(status));
        } else if (status != 0) {  // a sanitizer's
            what = "ended with status " + std::to_string(WEXITSTATUS(status));
        } else if (!result.finished) {
            what = result.complaint;
        } else if (result.lost != 0 && !mayCost(point, result.lost)) {
            what = "costs " + describe(result.lost) + ", first: " + result.complaint;
        }
        if (what.empty()) {
            if (result.lost != 0) ++mCosts[describe(result.lost)];
            return;
        }
        char text[4096] = "";
        const ssize_t length = pread(output, text, sizeof(text) - 1, 0);
        ADD_FAILURE() << point.text() << ": " << what << '\n' << (length > 0 ? text : "");
    }

    /** What is looked at once, at the start, can be lost: one thing with one device. */
    static bool mayCost(const Point& point, uint32_t lost) {
        constexpr uint32_t kCatalogue = 1U << Session::kCatalogue;
        if (point.phase != kStart || (lost & 1U << Session::kStanding) != 0) return false;
        if (point.subject.find("sensor_spec") != std::string::npos) return true;
        const uint32_t parts = lost & ~kCatalogue;
        // The context sensor's device carries the messages, the housekeeping one both of the
        // others.
        constexpr uint32_t kHousekeeping = 1U << Session::kFiles | 1U << Session::kDumps;
        constexpr uint32_t kTalk = 1U << Session::kContext | 1U << Session::kMessages;
        return (parts & (parts - 1)) == 0 || (parts & ~kHousekeeping) == 0 || (parts & ~kTalk) == 0;
    }

    static std::string describe(uint32_t lost) {
        std::string text;
        for (int part = 0; part < Session::kParts; ++part) {
            if ((lost & 1U << part) == 0) continue;
            text += (text.empty() ? "" : ", ") + std::string(Session::kPartNames[part]);
        }
        return text;
    }

    void report() const {
        std::cout << mPoints.size() << " fault points, " << mUnreached << " not reached\n";
        for (const auto& [call, count] : mFatal)
            std::cout << "ends the process: " << call << " (" << count << " points)\n";
        for (const auto& [parts, count] : mCosts)
            std::cout << "a fault at the start costs: " << parts << " (" << count << " points)\n";
        // The poll thread's last wake-ups are as many as the machine is slow.
        EXPECT_LE(mUnreached, mPoints.size() / 50);
    }

    const std::vector<Point>& mPoints;
    Result* const mResults;
    std::map<pid_t, Child> mRunning;
    std::map<std::string, int> mFatal;
    std::map<std::string, int> mCosts;
    size_t mUnreached = 0;
};

TEST(FaultSweep, AnySingleCallMayFail) {
    const char* mode = getenv("SENSORHUB_SWEEP");
    const std::vector<Point> calls = recordCalls();
    std::map<std::string, int> kinds;
    for (const Point& call : calls)
        ++kinds[call.call];
    std::cout << calls.size() << " calls:";
    for (const auto& [call, count] : kinds)
        std::cout << ' ' << call << ' ' << count;
    std::cout << '\n';
    // What the scenario is for; a call that is gone here is no longer proved.
    EXPECT_EQ(kinds.size(), kFaults.size());
    const std::vector<Point> points =
        choosePoints(calls, mode != nullptr && strcmp(mode, "all") == 0);
    Sweep(points).run();
}

}  // namespace
