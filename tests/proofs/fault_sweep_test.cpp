// Each call that the library makes of the C library fails once, in a process of its own: it must
// neither crash nor hang nor keep a descriptor, and whatever comes after must work. By default one
// fault per call; SENSORHUB_SWEEP=all tries all of them.

#include <dirent.h>
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <link.h>
#include <poll.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "tests/proofs/Session.h"

namespace {

using proofs::Session;

constexpr unsigned kTimeLimit = 30;  // seconds for one process
constexpr int kShort = -1;           // half of what was there
constexpr int kNothing = -2;         // an end of file, a null or 0

enum Kind {
    kOpen,
    kRead,
    kWrite,
    kSeek,
    kControl,
    kClose,
    kOpenDirectory,
    kReadDirectory,
    kRemove,
    kPoll,
    kMap,
    kRegionValid,
    kRegionSize,
    kLocalTime,
    kThread,    // the process ends where this
    kAllocate,  // or this one fails
    kKinds
};

const struct {
    const char* call;
    std::vector<int> faults;
} kFaults[kKinds] = {
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

enum Phase { kStart, kRound, kEnd, kOver };

struct Point {
    Kind kind;
    char subject[96];
    int nth;  // of the same call on the same subject, from 1
    Phase phase;
    int fault;

    std::string text() const {
        const std::string how = fault == kShort     ? "comes short"
                                : fault == kNothing ? "gives nothing"
                                                    : strerrordesc_np(fault);
        return std::string(kFaults[kind].call) + " " + subject + " no. " + std::to_string(nth) +
               ": " + how;
    }
    bool isFatal() const { return kind == kThread || kind == kAllocate; }
};

/** What a child leaves behind. */
struct Outcome {
    bool reached;
    bool finished;
    uint32_t lost;
    char complaint[160];
};

/** Memory that children share with their parent. */
template <typename T>
T* shared(size_t count) {
    return static_cast<T*>(mmap(nullptr, sizeof(T) * count, PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_ANONYMOUS, -1, 0));
}

// In the child. ----------------------------------------------------------------------------------

std::mutex gLock;
Phase gPhase = kOver;
std::map<int, std::string> gSubjects;  // by descriptor
std::map<std::pair<Kind, std::string>, int> gCounts;
const Point* gTarget = nullptr;
Outcome* gOutcome = nullptr;
constexpr size_t kMostCalls = 2000;
Point* const gRecorded = shared<Point>(kMostCalls);  // by the child without a fault
size_t gCalls = 0;

/** Counts a call; the fault that it is to have, or 0. */
int faultOf(Kind kind, const std::string& subject) {
    const std::lock_guard<std::mutex> lock(gLock);
    if (gPhase == kOver) return 0;
    Point point = {kind, "", ++gCounts[{kind, subject}], gPhase, 0};
    subject.copy(point.subject, sizeof(point.subject) - 1);
    if (gTarget == nullptr) {
        if (gCalls < kMostCalls) gRecorded[gCalls++] = point;
        return 0;
    }
    if (gTarget->nth != point.nth || gTarget->kind != kind || gTarget->subject != subject) return 0;
    gOutcome->reached = true;
    return gTarget->fault;
}

// What a call is about, by its first argument.
std::string subjectOf(const char* path) {
    const std::string name = path;  // dumps carry the time
    const bool isDump = name.find("/shub_dump_0") != std::string::npos;
    return name.substr(0, name.size() - (isDump ? 15 : 0));
}
std::string subjectOf(int fd) {
    const std::lock_guard<std::mutex> lock(gLock);
    return gSubjects[fd];
}
template <typename T>
std::string subjectOf(T) {
    return "";
}
void setSubject(int fd, const std::string& subject) {
    const std::lock_guard<std::mutex> lock(gLock);
    gSubjects[fd] = subject;
}

struct Redirected {
    const char* symbol;
    void* replacement;
    void** next;  ///< receives the original function
};

/** Replaces a call. A variable argument is passed as a plain one is. */
template <Kind kKind, typename Function, typename Next = Function>
struct Call;
template <Kind kKind, typename Next, typename Result, typename First, typename... Rest>
struct Call<kKind, Result(First, Rest...), Next> {
    static inline Next* next = nullptr;

    static Result replacement(First first, Rest... rest) {
        const std::string subject = subjectOf(first);
        const int fault = faultOf(kKind, subject);
        if (fault > 0 && kKind != kClose) return failed(fault);
        if (fault == kNothing) return Result();
        if constexpr (kKind == kClose) setSubject(first, "");
        const Result result = next(first, rest...);
        if (fault > 0) return failed(fault);
        if constexpr (kKind == kOpen) setSubject(result, subject);
        if constexpr (std::is_integral_v<Result>) {
            if (fault == kShort && result > 0) return result / 2;
        }
        return result;
    }
    static Result failed(int fault) {
        errno = fault;
        if constexpr (kKind == kAllocate) throw std::bad_alloc();
        if constexpr (kKind == kThread) return fault;
        if constexpr (kKind == kMap) return MAP_FAILED;
        if constexpr (std::is_pointer_v<Result>) return nullptr;
        return Result(-1);
    }
    static Redirected of(const char* symbol) {
        return {symbol, reinterpret_cast<void*>(replacement), reinterpret_cast<void**>(&next)};
    }
};

const Redirected kCalls[] = {
    Call<kOpen, int(const char*, int, mode_t), int(const char*, int, ...)>::of("open"),
    Call<kRead, ssize_t(int, void*, size_t)>::of("read"),
    Call<kRead, ssize_t(int, void*, size_t, size_t)>::of("__read_chk"),
    Call<kWrite, ssize_t(int, const void*, size_t)>::of("write"),
    Call<kSeek, off64_t(int, off64_t, int)>::of("lseek64"),
    Call<kControl, int(int, unsigned long, void*), int(int, unsigned long, ...)>::of("ioctl"),
    Call<kClose, int(int)>::of("close"),
    Call<kOpenDirectory, DIR*(const char*)>::of("opendir"),
    Call<kReadDirectory, dirent*(DIR*)>::of("readdir"),
    Call<kRemove, int(const char*)>::of("remove"),
    Call<kPoll, int(pollfd*, nfds_t, int)>::of("poll"),
    Call<kPoll, int(pollfd*, nfds_t, int, size_t)>::of("__poll_chk"),
    Call<kMap, void*(void*, size_t, int, int, int, off_t)>::of("mmap"),
    Call<kRegionValid, int(int)>::of("ashmem_valid"),
    Call<kRegionSize, int(int)>::of("ashmem_get_size_region"),
    Call<kLocalTime, tm*(const time_t*, tm*)>::of("localtime_r"),
    Call<kThread, int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>::of(
        "pthread_create"),
    Call<kAllocate, void*(size_t)>::of("_Znwm"),
};

/** Changes the calls of the loaded library alone, whoever else calls the same functions. */
void redirectAll(void* library) {
    link_map* map = nullptr;
    dlinfo(library, RTLD_DI_LINKMAP, &map);
    std::map<ElfW(Sxword), ElfW(Addr)> found;
    for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry)
        found[entry->d_tag] = entry->d_un.d_ptr;
    const auto* symbols = reinterpret_cast<const ElfW(Sym)*>(found[DT_SYMTAB]);
    const auto* names = reinterpret_cast<const char*>(found[DT_STRTAB]);
    const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    for (const auto& [table, size] : {std::pair(DT_RELA, DT_RELASZ), {DT_JMPREL, DT_PLTRELSZ}}) {
        const auto* entry = reinterpret_cast<const ElfW(Rela)*>(found[table]);
        for (const auto* end = entry + found[size] / sizeof(*entry); entry != end; ++entry) {
            const char* name = names + symbols[ELF64_R_SYM(entry->r_info)].st_name;
            for (const Redirected& call : kCalls) {
                if (strcmp(name, call.symbol) != 0) continue;
                const uintptr_t address = map->l_addr + entry->r_offset;
                // Read-only once the library is loaded.
                mprotect(reinterpret_cast<void*>(address & ~(page - 1)), page,
                         PROT_READ | PROT_WRITE);
                void*& slot = *reinterpret_cast<void**>(address);
                if (slot != call.replacement) *call.next = std::exchange(slot, call.replacement);
            }
        }
    }
}

void enter(Phase phase) {
    const std::lock_guard<std::mutex> lock(gLock);
    gPhase = phase;
}

/** What is open or mapped on behalf of the library. */
std::vector<std::string> holdings() {
    std::vector<std::string> all = proofs::openFiles();
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("memfd:client") != std::string::npos) all.push_back(line);
    }
    std::sort(all.begin(), all.end());
    return all;
}

/** One process: a start, a round, an end, one of them with the fault; then what must work. */
void runScenario() {
    std::vector<std::string> before;
    const auto complain = [](const std::string& text) {
        snprintf(gOutcome->complaint, sizeof(gOutcome->complaint), "%s", text.c_str());
    };
    Session session([&](void* library) {
        redirectAll(library);
        before = holdings();
        enter(kStart);
    });
    enter(kRound);
    session.round();
    enter(kOver);
    gOutcome->lost = session.round();
    complain(session.complaint());
    enter(kEnd);
    const bool ended = session.subHal().unload();
    enter(kOver);
    if (!ended) complain("stays resident");
    const auto after = holdings();
    if (after != before) {
        std::vector<std::string> left = {""};
        std::set_difference(after.begin(), after.end(), before.begin(), before.end(),
                            std::back_inserter(left));
        complain("left open: " + left.back());
    }
    gOutcome->finished = ended && after == before;
}

// In the parent. ---------------------------------------------------------------------------------

pid_t startChild(const Point* target, Outcome* outcome) {
    const pid_t child = fork();
    if (child != 0) return child;
    alarm(kTimeLimit);
    gTarget = target;
    gOutcome = outcome;
    try {
        runScenario();
    } catch (const std::bad_alloc&) {
        abort();  // as on a device, which has no exceptions
    } catch (...) {
        _exit(3);  // a caller that catches would be left with half an object
    }
    _exit(0);
}

/** One fault per call in turn, or each; of those that end the process, which all do, a few. */
std::vector<Point> choosePoints(const std::vector<Point>& calls, bool all) {
    std::vector<Point> points;
    std::map<Kind, size_t> turn;
    for (Point point : calls) {
        const std::vector<int>& faults = kFaults[point.kind].faults;
        const size_t seen = turn[point.kind]++;
        if (!all && point.isFatal() && seen % 16 != 0) continue;
        for (size_t i = 0; i < faults.size(); ++i) {
            if (!all && seen % faults.size() != i) continue;
            point.fault = faults[i];
            points.push_back(point);
        }
    }
    return points;
}

/** What the library reads only at the start can be lost: one part with one device. */
bool mayCost(const Point& point, uint32_t lost) {
    if (point.phase != kStart || (lost & 1U << Session::kHanging) != 0) return false;
    if (strstr(point.subject, "sensor_spec") != nullptr) return true;
    const uint32_t parts = lost & ~(1U << Session::kCatalogue);
    // The context sensor's device carries the messages, the housekeeping one both of the others.
    constexpr uint32_t kHousekeeping = 1U << Session::kFiles | 1U << Session::kDumps;
    constexpr uint32_t kTalk = 1U << Session::kContext | 1U << Session::kMessages;
    return (parts & (parts - 1)) == 0 || (parts & ~kHousekeeping) == 0 || (parts & ~kTalk) == 0;
}

/** Why a child's end is wrong, or an empty text. */
std::string judge(const Point& point, const Outcome& outcome, int status) {
    if (point.isFatal() && WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) return "";
    if (WIFSIGNALED(status)) return std::string("ended by ") + strsignal(WTERMSIG(status));
    // 3 is an exception, others are a sanitizer's.
    if (status != 0) return "ended with status " + std::to_string(WEXITSTATUS(status));
    if (!outcome.finished) return outcome.complaint;
    if (outcome.lost == 0 || mayCost(point, outcome.lost)) return "";
    return std::string("still fails afterwards: ") + outcome.complaint;
}

TEST(FaultSweep, AnySingleCallMayFail) {
    auto* const plain = shared<Outcome>(1);
    int status = 0;
    waitpid(startChild(nullptr, plain), &status, 0);
    EXPECT_TRUE(status == 0 && plain->finished && plain->lost == 0) << plain->complaint;
    std::vector<Point> calls(gRecorded, gRecorded + kMostCalls);
    while (!calls.empty() && calls.back().nth == 0)
        calls.pop_back();
    ASSERT_LT(calls.size(), kMostCalls);
    // What the scenario is for; a call that is gone here is no longer proved.
    for (int kind = 0; kind < kKinds; ++kind) {
        EXPECT_TRUE(std::any_of(calls.begin(), calls.end(), [kind](const Point& call) {
            return call.kind == kind;
        })) << kFaults[kind].call;
    }

    const char* mode = getenv("SENSORHUB_SWEEP");
    const auto points = choosePoints(calls, mode != nullptr && strcmp(mode, "all") == 0);
    auto* const outcomes = shared<Outcome>(points.size());
    std::map<pid_t, size_t> running;
    size_t unreached = 0;
    std::string complaints;
    const auto collect = [&] {
        const pid_t child = waitpid(-1, &status, 0);
        const Point& point = points[running.at(child)];
        const Outcome& outcome = outcomes[running.at(child)];
        running.erase(child);
        unreached += outcome.reached ? 0 : 1;
        const std::string complaint = outcome.reached ? judge(point, outcome, status) : "";
        if (!complaint.empty()) complaints += point.text() + ": " + complaint + '\n';
    };
    for (size_t i = 0; i < points.size(); ++i) {
        if (running.size() == std::max(1U, std::thread::hardware_concurrency())) collect();
        running[startChild(&points[i], &outcomes[i])] = i;
    }
    while (!running.empty())
        collect();
    EXPECT_EQ(complaints, "");
    std::cout << calls.size() << " calls, " << points.size() << " fault points, " << unreached
              << " not reached\n";
    // The poll thread's last wake-ups are as many as the machine is slow.
    EXPECT_LE(unreached, points.size() / 50);
}

}  // namespace
